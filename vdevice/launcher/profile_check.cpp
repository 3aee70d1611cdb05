// Runs beside the launcher, outside of the device.

#include <android-base/file.h>

#include <cstdio>

#include "vdevice/lib/CommandLine.h"
#include "vdevice/lib/profile/ProfileCheck.h"
#include "vdevice/lib/sources/DeviceSources.h"
#include "vdevice/system/init/RcFile.h"

using namespace zstats::vdevice;

namespace {

constexpr char kUsage[] =
        "usage: profile_check FOLDER RC_FILE...\n"
        "Checks a profile folder before a device is booted with it. The rc files name the "
        "services\n"
        "that a profile may list.\n";

int fail(const std::string& reason) {
    fprintf(stderr, "%s\n", reason.c_str());
    return 1;
}

std::set<std::string> serviceNames(const RcFile& rc) {
    std::set<std::string> names;
    for (const RcService& service : rc.services) {
        names.insert(service.name);
        names.insert(service.interfaces.begin(), service.interfaces.end());
    }
    return names;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> words;
    CommandLine line("profile_check", kUsage);
    if (const auto ended = line.read(argc, argv, &words)) return *ended;
    if (words.size() < 2) return line.complain("wants FOLDER RC_FILE...");
    RcFile rc;
    for (size_t i = 1; i < words.size(); ++i) {
        std::string text;
        if (!android::base::ReadFileToString(words[i], &text, true)) {
            return fail(words[i] + ": is unreadable");
        }
        const std::string error = parseRcFile(words[i], text, &rc);
        if (!error.empty()) return fail(error);
    }
    const auto& methods = chargerMethods();
    const std::string fault =
            checkProfile(words[0], {serviceNames(rc), {methods.begin(), methods.end()}});
    return fault.empty() ? 0 : fail(fault);
}
