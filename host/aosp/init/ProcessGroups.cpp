#include <processgroup/processgroup.h>
#include <signal.h>

#include <cerrno>

// A service and its child processes. On a phone they are a control group, which no process can
// leave; here they are the process group that init also creates.

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
    return 0;  // no process survives SIGKILL, the only signal that init sends this way
}

void removeAllEmptyProcessGroups() {}
