#pragma once

#include <android/binder_auto_utils.h>
#include <binder/Binder.h>
#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

/**
 * Binder in one process, without a driver. A service published here is reached through a genuine
 * proxy, by way of the process's default service manager: calls are marshalled, they arrive under
 * the uid that the test chose, one-way calls run on threads of the service in their order, and
 * death is told by the platform's own code. All functions may be called on any thread.
 */
namespace zstats::inprocess {

/** A published service as a test holds it. It stays reachable as long as somebody holds its proxy. */
class RemoteService {
  public:
    virtual ~RemoteService() = default;

    /**
     * Ends the service: its name is gone, calls return DEAD_OBJECT, also those that hang, and every
     * death notice has run, on a thread of its own, when this returns.
     */
    virtual void die() = 0;
    /** Every later call fails with this status before it reaches the service; 0 ends that. */
    virtual void failCalls(android::status_t status) = 0;
    /** What the service sees as the caller's uid from now on; the process's own until set. */
    virtual void setCallerUid(uid_t uid) = 0;
    /** Later calls hang until unblock() or die(), or until nothing holds this object. */
    virtual void block() = 0;
    virtual void unblock() = 0;
    /** Returns when `count` calls hang at the same time. */
    virtual void waitForBlocked(int count) = 0;
    /** How many transactions of this code were made, failed and hanging ones included. */
    virtual int calls(uint32_t code) const = 0;
    /** Returns when all one-way calls made so far have been served. */
    virtual void drainOneway() = 0;

    virtual android::sp<android::IBinder> proxy() const = 0;
    ndk::SpAIBinder ndkProxy() const;
};

/** Publishes `local`, replacing what had this name. */
std::shared_ptr<RemoteService> publish(const std::string& name,
                                       const android::sp<android::IBinder>& local);
std::shared_ptr<RemoteService> publish(const std::string& name, const ndk::SpAIBinder& local);

/** Makes the name unknown. The service lives on for those that hold its proxy. */
void withdraw(const std::string& name);

/** Withdraws every name, undoes refuseService and hideServiceManager, forgets what was recorded. */
void reset();

/** A call of IServiceManager::addService. */
struct AddedService {
    std::string name;
    android::sp<android::IBinder> binder;
    bool allowIsolated;
    int dumpFlags;
};

/** The additions made through the service manager so far, refused ones left out, in order. */
std::vector<AddedService> addedServices();
/** The look-ups so far, in order: "check NAME", "get NAME", "waitFor NAME". */
std::vector<std::string> lookUps();
/** Returns once this look-up has been made, which may still be waiting for its service. */
void waitForLookUp(const std::string& lookUp);
/** Makes lists name a service that no look-up finds, as one that died after the list was made. */
void listGone(const std::string& name);
/** Makes addService of this name return `status`. */
void refuseService(const std::string& name, android::status_t status);
/** Makes the process have no service manager (true) or have it back (false). */
void hideServiceManager(bool hidden);

}  // namespace zstats::inprocess

namespace zstats {

/** A binder that reports an interface descriptor. */
struct Claiming : android::BBinder {
    explicit Claiming(const char* name) : descriptor(name) {}
    const android::String16& getInterfaceDescriptor() const override { return descriptor; }

    const android::String16 descriptor;
};

/** Dies while its death is first linked: the notice waits for what the linking thread has locked. */
struct DyingAsLinked : Claiming {
    using Claiming::Claiming;
    android::status_t linkToDeath(const android::sp<DeathRecipient>& to, void*, uint32_t) override {
        if (++links > 1) return android::OK;
        notice = std::thread([this, to] { to->binderDied(this); });
        // Time for a notice that waits for nothing.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        return android::OK;
    }

    int links = 0;
    std::thread notice;  // joined by the test
};

}  // namespace zstats
