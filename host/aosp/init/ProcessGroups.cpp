#include <processgroup/processgroup.h>
#include <signal.h>

#include <cerrno>

// A service with what it starts. On a phone it is a control group of the kernel's, which no process
// leaves; here it is the process group that init makes as well.

bool CgroupsAvailable() {
    return false;
}

int killProcessGroupOnce(uid_t /*uid*/, int initialPid, int signal, int* max_processes) {
    if (max_processes != nullptr) *max_processes = 0;
    const bool isEmpty = kill(-initialPid, signal) != 0 && errno == ESRCH;
    return isEmpty ? 0 : -1;
}

int killProcessGroup(uid_t uid, int initialPid, int signal, int* max_processes) {
    killProcessGroupOnce(uid, initialPid, signal, max_processes);
    return 0;  // not one process outlives SIGKILL, the only signal that init sends this way
}

void removeAllEmptyProcessGroups() {}
