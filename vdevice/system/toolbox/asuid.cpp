#include <grp.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "vdevice/lib/UserIds.h"
#include "vdevice/system/toolbox/Tools.h"

namespace zstats::vdevice {

int asuidMain(const Arguments& arguments) {
    const auto id = arguments.empty() ? std::nullopt : parseUserId(arguments[0]);
    if (!id || arguments.size() < 2) return usage("asuid UID COMMAND...");
    if (setgroups(0, nullptr) != 0 || setresgid(*id, *id, *id) != 0 ||
        setresuid(*id, *id, *id) != 0) {
        fprintf(stderr, "asuid: %s: %s\n", arguments[0].c_str(), strerror(errno));
        return 1;
    }
    std::vector<char*> command;
    for (size_t i = 1; i < arguments.size(); ++i) {
        command.push_back(const_cast<char*>(arguments[i].c_str()));
    }
    command.push_back(nullptr);
    execvp(command[0], command.data());
    fprintf(stderr, "asuid: %s: %s\n", command[0], strerror(errno));
    return errno == ENOENT ? 127 : 126;
}

}  // namespace zstats::vdevice
