#include "vdevice/system/init/Init.h"

// The first process of the virtual device.

int main() {
    zstats::vdevice::Init().run();
    return 0;
}
