#include "daemon/Startup.h"

int main() {
    return zstats::runDaemon();
}
