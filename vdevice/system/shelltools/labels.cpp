#include <selinux/selinux.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "vdevice/system/shelltools/Tools.h"

namespace zstats::vdevice {

int chconMain(const Arguments& arguments) {
    for (size_t i = 1; i < arguments.size(); ++i) {
        if (setfilecon(arguments[i].c_str(), arguments[0].c_str()) == 0) continue;
        fprintf(stderr, "chcon: %s: %s\n", arguments[i].c_str(), strerror(errno));
        return 1;
    }
    return 0;
}

int runconMain(const Arguments& arguments) {
    if (setexeccon(arguments[0].c_str()) != 0) {
        fprintf(stderr, "runcon: %s: %s\n", arguments[0].c_str(), strerror(errno));
        return 1;
    }
    return runCommand("runcon", {arguments.begin() + 1, arguments.end()});
}

}  // namespace zstats::vdevice
