// Runs beside the launcher, outside of the device.

#include <android-base/file.h>

#include <cstdio>

#include "cli/lib/CommandLine.h"
#include "cli/lib/device/DeviceSources.h"
#include "vdevice/lib/profile/ProfileCheck.h"
#include "vdevice/lib/profile/RcServices.h"

using namespace zstats::cli;
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

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> words;
    CommandLine line("profile_check", kUsage);
    if (const auto ended = line.read(argc, argv, &words)) return *ended;
    if (words.size() < 2) return line.complain("wants FOLDER RC_FILE...");
    std::set<std::string> services;
    for (size_t i = 1; i < words.size(); ++i) {
        std::string text;
        if (!android::base::ReadFileToString(words[i], &text, true)) {
            return fail(words[i] + ": is unreadable");
        }
        for (const RcService& service : rcServices(text)) {
            services.insert(service.name);
            services.insert(service.interfaces.begin(), service.interfaces.end());
        }
    }
    const auto& methods = chargerMethods();
    const std::string fault = checkProfile(words[0], {services, {methods.begin(), methods.end()}});
    return fault.empty() ? 0 : fail(fault);
}
