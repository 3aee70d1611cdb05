#include <android-base/logging.h>
#include <sys/resource.h>

#include <cstring>

#include "init.h"

// Init's second stage. A phone's program also contains the first stage and the SELinux set-up,
// which are vdevice/system/firststage here, and ueventd and subcontexts, which are not needed.

int main(int argc, char** argv) {
    setpriority(PRIO_PROCESS, 0, -20);  // restored after all rc files are read
    if (argc == 2 && strcmp(argv[1], "second_stage") == 0) {
        return android::init::SecondStageMain(argc, argv);
    }
    LOG(FATAL) << "usage: init second_stage";
    return 1;
}
