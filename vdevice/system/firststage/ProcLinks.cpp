#include "vdevice/system/firststage/ProcLinks.h"

#include <android-base/unique_fd.h>
#include <linux/cn_proc.h>
#include <linux/connector.h>
#include <linux/netlink.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "vdevice/lib/Process.h"
#include "vdevice/system/firststage/Boot.h"
#include "vdevice/system/firststage/StageLog.h"

namespace zstats::vdevice {
namespace {

using android::base::unique_fd;

// A burst of forks must not overflow the socket: lost notices leave threads visible.
constexpr int kReceiveBytes = 1 << 20;

std::string linkOf(pid_t id) {
    return "/proc/" + std::to_string(id);
}

/** Subscribes to the kernel's notices of forks and exits. */
bool listen(int fd) {
    sockaddr_nl address = {};
    address.nl_family = AF_NETLINK;
    address.nl_groups = CN_IDX_PROC;
    struct {
        nlmsghdr head;
        alignas(NLMSG_ALIGNTO) char body[sizeof(cn_msg) + sizeof(proc_cn_mcast_op)];
    } request = {};
    request.head.nlmsg_len = sizeof(request);
    request.head.nlmsg_type = NLMSG_DONE;
    cn_msg message = {};
    message.id = {CN_IDX_PROC, CN_VAL_PROC};
    message.len = sizeof(proc_cn_mcast_op);
    const proc_cn_mcast_op operation = PROC_CN_MCAST_LISTEN;
    memcpy(request.body, &message, sizeof(message));
    memcpy(request.body + sizeof(message), &operation, sizeof(operation));
    setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBytes, sizeof(kReceiveBytes));
    return bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 &&
           send(fd, &request, sizeof(request), 0) == sizeof(request);
}

/** Older kernel headers declare these in proc_event, newer ones outside: this finds both. */
struct ProcEvents : proc_event {
    static constexpr auto kFork = PROC_EVENT_FORK;
    static constexpr auto kExit = PROC_EVENT_EXIT;
};

void handle(const proc_event& event) {
    if (event.what == ProcEvents::kFork) {
        const auto& fork = event.event_data.fork;
        if (fork.child_pid != fork.child_tgid) unlink(linkOf(fork.child_pid).c_str());
    } else if (event.what == ProcEvents::kExit) {
        const auto& exit = event.event_data.exit;
        if (exit.process_pid == exit.process_tgid) return;
        const std::string link = linkOf(exit.process_pid);
        (void)!symlink((kKernelTrees + link).c_str(), link.c_str());
    }
}

[[noreturn]] void follow(int fd) {
    alignas(nlmsghdr) char buffer[4096];
    // After lost notices (ENOBUFS) the others still count.
    while (recv(fd, buffer, sizeof(buffer), 0) >= 0 || errno == ENOBUFS || errno == EINTR) {
        proc_event event = {};
        memcpy(&event, buffer + NLMSG_HDRLEN + sizeof(cn_msg), sizeof(event));
        handle(event);
    }
    _exit(1);
}

}  // namespace

void hideThreads() {
    const unique_fd fd(socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_CONNECTOR));
    if (!listen(fd.get())) {
        STAGE_LOG(WARN, "threads will be listed in /proc: %s", strerror(errno));
        return;
    }
    if (fork() != 0) return;
    becomeChild();
    prctl(PR_SET_NAME, "proclinks");
    follow(fd.get());
}

}  // namespace zstats::vdevice
