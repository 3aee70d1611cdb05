// Checks a profile folder before a device is booted with it. Runs beside the launcher, outside.
//
//   profile_check FOLDER RC_FILE...      the rc files name the services that a profile may list

#include <android-base/file.h>

#include <cstdio>

#include "vdevice/lib/profile/ProfileCheck.h"
#include "vdevice/lib/sources/DeviceSources.h"
#include "vdevice/system/init/RcFile.h"

using namespace zstats::vdevice;

namespace {

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
    if (argc < 3) return fail("usage: profile_check FOLDER RC_FILE...");
    RcFile rc;
    for (int i = 2; i < argc; ++i) {
        std::string text;
        if (!android::base::ReadFileToString(argv[i], &text, true)) {
            return fail(std::string(argv[i]) + ": is unreadable");
        }
        const std::string error = parseRcFile(argv[i], text, &rc);
        if (!error.empty()) return fail(error);
    }
    const auto& methods = chargerMethods();
    const std::string fault =
            checkProfile(argv[1], {serviceNames(rc), {methods.begin(), methods.end()}});
    return fault.empty() ? 0 : fail(fault);
}
