#include <grp.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cli/lib/CommandLine.h"
#include "vdevice/lib/UserIds.h"
#include "vdevice/system/shelltools/Tools.h"

namespace zstats::vdevice {

int asuidMain(const Arguments& arguments) {
    const auto id = parseUserId(arguments[0]);
    if (!id) {
        fprintf(stderr, "asuid: no such user: '%s'\n", arguments[0].c_str());
        return cli::kExitUsage;
    }
    if (setgroups(0, nullptr) != 0 || setresgid(*id, *id, *id) != 0 ||
        setresuid(*id, *id, *id) != 0) {
        fprintf(stderr, "asuid: %s: %s\n", arguments[0].c_str(), strerror(errno));
        return 1;
    }
    return runCommand("asuid", {arguments.begin() + 1, arguments.end()});
}

}  // namespace zstats::vdevice
