#include "tests/support/InProcessBinder.h"

#include <android/binder_libbinder.h>
#include <binder/BpBinder.h>
#include <binder/IPCThreadState.h>
#include <binder/ProcessState.h>
#include <binder/Stability.h>
#include <fakeservicemanager/FakeServiceManager.h>
#include <linux/android/binder.h>
#include <utils/String8.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <future>
#include <map>
#include <thread>
#include <utility>

#include "daemon/base/Mutex.h"

namespace zstats::inprocess {

using android::BpBinder;
using android::IBinder;
using android::IPCThreadState;
using android::Parcel;
using android::sp;
using android::status_t;
using android::String16;
using android::String8;
using android::Vector;

namespace {

/** A pid that no process of the host has, so that a forged caller is nobody in particular. */
constexpr int64_t kCallerPid = 1;

/** The far side of a proxy: the local object, its faults, and its one-way calls. */
class Target : public RemoteService {
  public:
    Target(int32_t handle, sp<IBinder> local) : mHandle(handle), mLocal(std::move(local)) {}
    ~Target() override { Target::drainOneway(); }

    /** Made once, after the target is in the table of handles. */
    void makeProxy() {
        const auto process = android::ProcessState::self();
        mProxy = sp<BpBinder>(process->getStrongProxyForHandle(mHandle)->remoteBinder());
        android::internal::Stability::markCompilationUnit(mProxy.get());
    }

    status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
        status_t status = admit(code);
        if (status != android::OK) return status;
        flags |= TF_ACCEPT_FDS;  // as the driver has it
        if ((flags & IBinder::FLAG_ONEWAY) != 0) return enqueue(code, data, flags);
        Parcel unwanted;
        Parcel* answer = reply != nullptr ? reply : &unwanted;
        status = serve(code, data, answer, flags);
        if (status != android::OK) answer->freeData();
        if (!alive()) return android::DEAD_OBJECT;
        answer->setDataPosition(0);
        return status;
    }

    void die() override;

    void failCalls(status_t status) override { mFailure = status; }
    void setCallerUid(uid_t uid) override { mCallerUid = uid; }
    void block() override { setBlocked(true); }
    void unblock() override { setBlocked(false); }

    void waitForBlocked(int count) override {
        ScopedLock lock(mLock);
        while (mHanging < count) mChanged.wait(lock);
    }

    int calls(uint32_t code) const override {
        const ScopedLock lock(mLock);
        const auto found = mCalls.find(code);
        return found == mCalls.end() ? 0 : found->second;
    }

    void drainOneway() override {
        const auto last = [this] {
            const ScopedLock lock(mLock);
            return mLastOneway;
        }();
        if (last.valid()) last.wait();
    }

    sp<IBinder> proxy() const override { return mProxy; }

  private:
    void setBlocked(bool blocked) {
        const ScopedLock lock(mLock);
        mBlocked = blocked;
        mChanged.notify_all();
    }

    bool alive() const {
        const ScopedLock lock(mLock);
        return mAlive;
    }

    /** Counts the call, lets it hang where told to, and says whether it may go on. */
    status_t admit(uint32_t code) {
        ScopedLock lock(mLock);
        ++mCalls[code];
        ++mHanging;
        mChanged.notify_all();
        while (mBlocked) mChanged.wait(lock);
        --mHanging;
        return mAlive ? mFailure.load() : android::DEAD_OBJECT;
    }

    /** Calls the object under the identity of the caller, as the driver would arrange it. */
    status_t serve(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
        IPCThreadState* self = IPCThreadState::self();
        const int64_t before = self->clearCallingIdentity();
        self->restoreCallingIdentity((static_cast<int64_t>(mCallerUid) << 32) | kCallerPid);
        const status_t status = mLocal->transact(code, data, reply, flags);
        self->restoreCallingIdentity(before);
        return status;
    }

    /** Queues the call behind the one-way calls before it. */
    status_t enqueue(uint32_t code, const Parcel& data, uint32_t flags) {
        auto copy = std::make_shared<Parcel>();
        const status_t status = copy->appendFrom(&data, 0, data.dataSize());
        if (status != android::OK) return status;
        const ScopedLock lock(mLock);
        std::packaged_task<void()> call([=, before = mLastOneway]() mutable {
            if (before.valid()) before.wait();
            before = {};
            Parcel unwanted;
            if (alive()) serve(code, *copy, &unwanted, flags);
            copy = nullptr;  // the references in it go before the call counts as done
        });
        mLastOneway = call.get_future().share();
        std::thread(std::move(call)).detach();
        return android::OK;
    }

    const int32_t mHandle;
    const sp<IBinder> mLocal;
    sp<BpBinder> mProxy;
    std::atomic<status_t> mFailure{android::OK};
    std::atomic<uid_t> mCallerUid{getuid()};
    mutable Mutex mLock;
    std::condition_variable_any mChanged;  // of what mLock guards
    bool mAlive GUARDED_BY(mLock) = true;
    bool mBlocked GUARDED_BY(mLock) = false;
    int mHanging GUARDED_BY(mLock) = 0;
    std::map<uint32_t, int> mCalls GUARDED_BY(mLock);
    std::shared_future<void> mLastOneway GUARDED_BY(mLock);
};

/** What reset() undoes. */
struct Services {
    std::map<String16, sp<IBinder>> byName;
    std::map<String16, status_t> refusals;
    std::vector<std::string> gone;
    std::vector<AddedService> added;
    std::vector<std::string> lookUps;
    bool isManagerHidden = false;

    sp<IBinder> find(const String16& name) const {
        const auto found = byName.find(name);
        return found == byName.end() ? nullptr : found->second;
    }
};

struct Process {
    Mutex lock;
    std::condition_variable_any changed;  // of what the lock guards
    /** By handle, from 1. Never removed, because a proxy may outlive the test that made it. */
    std::vector<std::shared_ptr<Target>> targets GUARDED_BY(lock);
    Services services GUARDED_BY(lock);
};
Process& gProcess = *new Process;  // never destroyed: threads may call while the process exits

std::shared_ptr<Target> findTarget(int32_t handle) {
    const ScopedLock lock(gProcess.lock);
    const auto index = static_cast<size_t>(handle) - 1;
    return index < gProcess.targets.size() ? gProcess.targets[index] : nullptr;
}

/** The process's service manager: the platform's fake one, except for what tests ask of it. */
class Manager : public android::FakeServiceManager {
  public:
    sp<IBinder> getService(const String16& name) const override { return lookUp("get ", name); }
    sp<IBinder> checkService(const String16& name) const override { return lookUp("check ", name); }
    sp<IBinder> waitForService(const String16& name) override {
        return lookUp("waitFor ", name, true);
    }

    /** Empty for less than all priorities, because the services here have none. */
    Vector<String16> listServices(int dumpFlags) override {
        if (dumpFlags != DUMP_FLAG_PRIORITY_ALL) return {};
        const ScopedLock lock(gProcess.lock);
        Vector<String16> names;
        for (const auto& [name, service] : gProcess.services.byName) names.push_back(name);
        for (const std::string& name : gProcess.services.gone)
            names.push_back(String16(name.c_str()));
        return names;
    }

    status_t addService(const String16& name, const sp<IBinder>& service, bool allowIsolated,
                        int dumpFlags) override {
        const ScopedLock lock(gProcess.lock);
        Services& services = gProcess.services;
        if (services.refusals.count(name) != 0) return services.refusals[name];
        services.byName[name] = service;
        services.added.push_back({String8(name).c_str(), service, allowIsolated, dumpFlags});
        gProcess.changed.notify_all();
        return android::OK;
    }

  private:
    static sp<IBinder> lookUp(const char* how, const String16& name, bool waits = false) {
        ScopedLock lock(gProcess.lock);
        gProcess.services.lookUps.push_back(how + std::string(String8(name).c_str()));
        gProcess.changed.notify_all();
        while (waits && gProcess.services.find(name) == nullptr) gProcess.changed.wait(lock);
        return gProcess.services.find(name);
    }
};

void Target::die() {
    {
        const ScopedLock lock(gProcess.lock);
        auto& byName = gProcess.services.byName;
        for (auto it = byName.begin(); it != byName.end();) {
            it = it->second == mProxy ? byName.erase(it) : std::next(it);
        }
    }
    {
        const ScopedLock lock(mLock);
        mAlive = false;
        mBlocked = false;
        mChanged.notify_all();
    }
    std::thread([proxy = mProxy] { proxy->sendObituary(); }).join();
}

}  // namespace

ndk::SpAIBinder RemoteService::ndkProxy() const {
    return ndk::SpAIBinder(AIBinder_fromPlatformBinder(proxy()));
}

std::shared_ptr<RemoteService> publish(const std::string& name, const sp<IBinder>& local) {
    std::shared_ptr<Target> target;
    {
        const ScopedLock lock(gProcess.lock);
        const auto handle = static_cast<int32_t>(gProcess.targets.size() + 1);
        target = gProcess.targets.emplace_back(std::make_shared<Target>(handle, local));
    }
    target->makeProxy();
    const ScopedLock lock(gProcess.lock);
    gProcess.services.byName[String16(name.c_str())] = target->proxy();
    gProcess.changed.notify_all();
    return {target.get(), [target](RemoteService* service) { service->unblock(); }};
}

std::shared_ptr<RemoteService> publish(const std::string& name, const ndk::SpAIBinder& local) {
    return publish(name, AIBinder_toPlatformBinder(local.get()));
}

void withdraw(const std::string& name) {
    const ScopedLock lock(gProcess.lock);
    gProcess.services.byName.erase(String16(name.c_str()));
}

void reset() {
    Services before;  // destroyed without the lock
    const ScopedLock lock(gProcess.lock);
    std::swap(before, gProcess.services);
}

std::vector<AddedService> addedServices() {
    const ScopedLock lock(gProcess.lock);
    return gProcess.services.added;
}

std::vector<std::string> lookUps() {
    const ScopedLock lock(gProcess.lock);
    return gProcess.services.lookUps;
}

void waitForLookUp(const std::string& lookUp) {
    ScopedLock lock(gProcess.lock);
    const auto& all = gProcess.services.lookUps;
    while (std::find(all.begin(), all.end(), lookUp) == all.end()) gProcess.changed.wait(lock);
}

void listGone(const std::string& name) {
    const ScopedLock lock(gProcess.lock);
    gProcess.services.gone.push_back(name);
}

void refuseService(const std::string& name, status_t status) {
    const ScopedLock lock(gProcess.lock);
    gProcess.services.refusals[String16(name.c_str())] = status;
}

void hideServiceManager(bool hidden) {
    const ScopedLock lock(gProcess.lock);
    gProcess.services.isManagerHidden = hidden;
}

}  // namespace zstats::inprocess

// The linker sends the library's calls of these two functions here.

android::status_t transactInProcess(
        android::IPCThreadState* self, int32_t handle, uint32_t code, const android::Parcel& data,
        android::Parcel* reply,
        uint32_t flags) __asm__("__wrap__ZN7android14IPCThreadState8transactEijRKNS_6ParcelEPS1_j");

android::status_t transactInProcess(android::IPCThreadState* /*self*/, int32_t handle,
                                    uint32_t code, const android::Parcel& data,
                                    android::Parcel* reply, uint32_t flags) {
    const auto target = zstats::inprocess::findTarget(handle);
    if (target == nullptr) return android::DEAD_OBJECT;
    return target->transact(code, data, reply, flags);
}

android::sp<android::IServiceManager> inProcessServiceManager() __asm__(
        "__wrap__ZN7android21defaultServiceManagerEv");

android::sp<android::IServiceManager> inProcessServiceManager() {
    using namespace zstats::inprocess;
    static const auto* const manager = new android::sp<Manager>(new Manager);
    const zstats::ScopedLock lock(gProcess.lock);
    if (gProcess.services.isManagerHidden) return nullptr;
    return *manager;
}
