#include "vdevice/system/firststage/AbsentServices.h"

#include <android-base/file.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "vdevice/lib/profile/ProfileFiles.h"
#include "vdevice/lib/profile/RcServices.h"
#include "vdevice/system/firststage/StageLog.h"

namespace zstats::vdevice {
namespace {

/** Optional services, and the file of the profile that each needs. */
constexpr struct {
    const char* service;
    const char* file;
} kFiles[] = {{"audio", "audio"},         {"calda", "calda"},      {"charger", "charger"},
              {"handlefactory", "nodes"}, {"scenario", "playing"}, {"thermalservice", "thermal"},
              {"touch", "touch"}};

/** The daemon's rc file has an action that starts it although it is disabled. */
constexpr char kDaemon[] = "zstats_pullerd";

bool isAbsent(const RcService& service, const std::set<std::string>& absent) {
    const auto listed = [&](const std::string& name) { return absent.count(name) != 0; };
    const auto lacksFile = [&](const auto& entry) {
        return service.name == entry.service && access(profilePath(entry.file).c_str(), F_OK) != 0;
    };
    return listed(service.name) ||
           std::any_of(service.interfaces.begin(), service.interfaces.end(), listed) ||
           std::any_of(std::begin(kFiles), std::end(kFiles), lacksFile);
}

}  // namespace

std::string disableAbsentServices() {
    const std::string listed = readProfileFile(profilePath(profile::kAbsent)).value_or("");
    const std::vector<std::string> lines = profileLines(listed);
    const std::set<std::string> absent(lines.begin(), lines.end());
    std::error_code ignored;
    std::filesystem::create_directories(kProfileRc, ignored);
    for (const RcService& service : rcServicesIn({kSystemRc, kSystemExtRc})) {
        if (!isAbsent(service, absent)) continue;
        const std::string path = std::string(kProfileRc) + "/" + service.name + ".rc";
        std::string text = service.section;
        text.insert(text.find('\n') + 1, "    override\n    disabled\n");
        // Mode 0644, because init ignores rc files that others may write.
        if (!android::base::WriteStringToFile(text, path, 0644, 0, 0)) {
            return failed(path);
        }
        if (service.name == kDaemon)
            unlink((std::string(kSystemExtRc) + "/" + kDaemon + ".rc").c_str());
    }
    return "";
}

}  // namespace zstats::vdevice
