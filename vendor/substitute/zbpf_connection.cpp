#include "vendor/include/zbpf_connection.h"

#include <android-base/unique_fd.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <thread>
#include <utility>

#include "daemon/base/Mutex.h"
#include "vendor/substitute/BpfSocket.h"
#include "vendor/substitute/Profile.h"
#include "vendor/substitute/Substitute.h"

namespace {

using android::base::unique_fd;
using zstats::substitute::InjectionHead;
using zstats::substitute::kDelivered;
using zstats::substitute::kMaxRecordBytes;
using zstats::substitute::readFeatureNumber;

/** A client's connection: a socket for injected records, and the thread that serves it. */
class Connection {
  public:
    Connection(const zbpf_connect_request& request, unique_fd listener)
          : mRequest(request),
            mListener(std::move(listener)),
            mStop(eventfd(0, EFD_CLOEXEC)),
            mThread([this] { run(); }) {}

    ~Connection() {
        eventfd_write(mStop.get(), 1);
        mThread.join();
    }

    int fd() const { return mListener.get(); }

  private:
    /** A packet, with room for a NUL after the record. */
    struct Packet {
        InjectionHead head;
        char record[kMaxRecordBytes + 1];
    };

    void run() {
        while (waitForInput(mListener.get())) {
            const unique_fd client(accept4(mListener.get(), nullptr, nullptr, SOCK_CLOEXEC));
            if (client.get() >= 0 && waitForInput(client.get())) answer(client.get());
        }
    }

    /** False when the connection has to end. */
    bool waitForInput(int fd) const {
        pollfd waiting[] = {{fd, POLLIN, 0}, {mStop.get(), POLLIN, 0}};
        while (poll(waiting, 2, -1) < 0 && errno == EINTR) {
        }
        return waiting[1].revents == 0;
    }

    void answer(int client) const {
        Packet packet = {};
        const ssize_t count = recv(client, &packet, sizeof(packet) - 1, 0);
        if (count < static_cast<ssize_t>(sizeof(packet.head))) return;
        const InjectionHead& head = packet.head;
        if (head.isDisconnect != 0) {
            mRequest.on_disconnect();
        } else {
            mRequest.on_data(head.dispatchFlag, static_cast<short>(head.dataType),
                             head.hasRecord != 0 ? packet.record : nullptr);
        }
        send(client, &kDelivered, sizeof(kDelivered), MSG_NOSIGNAL);
    }

    const zbpf_connect_request mRequest;
    const unique_fd mListener;
    const unique_fd mStop;
    std::thread mThread;
};

/** The process's connections. Open ones end with the process. */
class Library {
  public:
    static Library& get() {
        static Library library;
        return library;
    }

    int add(std::unique_ptr<Connection> connection) {
        const zstats::ScopedLock lock(mLock);
        const int fd = connection->fd();
        mConnections[fd] = std::move(connection);
        return fd;
    }

    /** Ends the connection without the lock, because its callback may call the library. */
    std::unique_ptr<Connection> remove(int fd) {
        const zstats::ScopedLock lock(mLock);
        auto node = mConnections.extract(fd);
        return node.empty() ? nullptr : std::move(node.mapped());
    }

  private:
    zstats::Mutex mLock;
    std::map<int, std::unique_ptr<Connection>> mConnections GUARDED_BY(mLock);
};

/** A listening socket, or an invalid one with errno set. */
unique_fd listenAt(const char* path) {
    unique_fd listener(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    const auto address = zstats::substitute::bpfSocketAddress(path);
    if (listener.get() >= 0 && (bind(listener.get(), address.get(), address.length) != 0 ||
                                listen(listener.get(), SOMAXCONN) != 0)) {
        const int error = errno;
        listener.reset();
        errno = error;
    }
    return listener;
}

}  // namespace

int zbpf_is_enable() {
    const bool unsupported = zstats::substitute::hasFeatureLine("bpf=unsupported");
    return readFeatureNumber("bpf_enable").value_or(unsupported ? 0 : 1);
}

int zbpf_btf_support() {
    return readFeatureNumber("bpf_btf").value_or(1);
}

int zbpf_region_support() {
    return readFeatureNumber("bpf_region").value_or(1);
}

int zbpf_connect_start(zbpf_connect_request* request) {
    const int refusal = readFeatureNumber("bpf_connect").value_or(0);
    if (refusal < 0) return refusal;
    unique_fd listener = listenAt(request->path);
    if (listener.get() < 0) return -errno;
    return Library::get().add(std::make_unique<Connection>(*request, std::move(listener)));
}

int zbpf_connect_exit(int fd, const char* /*name*/) {
    return Library::get().remove(fd) != nullptr ? 0 : -EBADF;
}
