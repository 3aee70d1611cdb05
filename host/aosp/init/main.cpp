#include <android-base/logging.h>
#include <sys/resource.h>

#include <cstring>

#include "init.h"

// The first process from the second stage on. A phone's program holds more: the first stage, which
// is vdevice/system/firststage here, SELinux' set-up, which is a part of that, ueventd and
// subcontexts, for which there is no use.

int main(int argc, char** argv) {
    setpriority(PRIO_PROCESS, 0, -20);  // restored when all rc files are read
    if (argc == 2 && strcmp(argv[1], "second_stage") == 0) {
        return android::init::SecondStageMain(argc, argv);
    }
    LOG(FATAL) << "usage: init second_stage";
    return 1;
}
