#include "tests/support/InProcessBinder.h"

#include <android/binder_libbinder.h>
#include <binder/Binder.h>
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
#include <deque>
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

/** Runs `action` under the identity of a caller with this uid, as the driver would arrange it. */
template <typename Action>
status_t asCaller(uid_t uid, const Action& action) {
    IPCThreadState* self = IPCThreadState::self();
    const int64_t before = self->clearCallingIdentity();
    self->restoreCallingIdentity((static_cast<int64_t>(uid) << 32) | kCallerPid);
    const status_t status = action();
    self->restoreCallingIdentity(before);
    return status;
}

/** The far side of a proxy: the local object, its faults, and a thread for its one-way calls. */
class Target : public RemoteService {
  public:
    Target(int32_t handle, sp<IBinder> local) : mHandle(handle), mLocal(std::move(local)) {}
    ~Target() override { stopOneway(); }

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
        status = asCaller(mCallerUid, [&] { return mLocal->transact(code, data, answer, flags); });
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
        ScopedLock lock(mLock);
        while (!mOneway.empty() || mServingOneway) mChanged.wait(lock);
    }

    sp<IBinder> proxy() const override { return mProxy; }

  private:
    struct OnewayCall {
        uint32_t code;
        Parcel data;
        uint32_t flags;
    };

    void setBlocked(bool blocked) {
        {
            const ScopedLock lock(mLock);
            mBlocked = blocked;
        }
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

    status_t enqueue(uint32_t code, const Parcel& data, uint32_t flags) {
        auto call = std::make_unique<OnewayCall>();
        call->code = code;
        call->flags = flags;
        const status_t status = call->data.appendFrom(&data, 0, data.dataSize());
        if (status != android::OK) return status;
        const ScopedLock lock(mLock);
        mOneway.push_back(std::move(call));
        if (!mOnewayThread.joinable()) mOnewayThread = std::thread([this] { serveOneway(); });
        mChanged.notify_all();
        return android::OK;
    }

    void serveOneway() {
        ScopedLock lock(mLock);
        while (true) {
            while (!mStopping && mOneway.empty()) mChanged.wait(lock);
            if (mOneway.empty()) return;
            const std::unique_ptr<OnewayCall> call = std::move(mOneway.front());
            mOneway.pop_front();
            mServingOneway = true;
            const bool deliver = mAlive;
            lock.unlock();
            if (deliver) {
                asCaller(mCallerUid, [&] {
                    Parcel unwanted;
                    return mLocal->transact(call->code, call->data, &unwanted, call->flags);
                });
            }
            lock.lock();
            mServingOneway = false;
            mChanged.notify_all();
        }
    }

    void stopOneway() {
        {
            const ScopedLock lock(mLock);
            mStopping = true;
        }
        mChanged.notify_all();
        if (mOnewayThread.joinable()) mOnewayThread.join();
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
    bool mStopping GUARDED_BY(mLock) = false;
    bool mServingOneway GUARDED_BY(mLock) = false;
    int mHanging GUARDED_BY(mLock) = 0;
    std::map<uint32_t, int> mCalls GUARDED_BY(mLock);
    std::deque<std::unique_ptr<OnewayCall>> mOneway GUARDED_BY(mLock);
    std::thread mOnewayThread;  // started under mLock, joined when the target goes
};

/** The table that stands for the driver: every proxy's handle and what is behind it. */
class Handles {
  public:
    std::shared_ptr<Target> add(const sp<IBinder>& local) {
        std::shared_ptr<Target> target;
        {
            const ScopedLock lock(mLock);
            target = std::make_shared<Target>(++mLast, local);
            mTargets[mLast] = target;
        }
        target->makeProxy();
        return target;
    }

    std::shared_ptr<Target> find(int32_t handle) const {
        const ScopedLock lock(mLock);
        const auto found = mTargets.find(handle);
        return found == mTargets.end() ? nullptr : found->second;
    }

    /** Targets live until the process ends: a proxy may outlast everything that a test holds. */
    static Handles& instance() {
        static Handles* const handles = new Handles;
        return *handles;
    }

  private:
    mutable Mutex mLock;
    int32_t mLast GUARDED_BY(mLock) = 0;
    std::map<int32_t, std::shared_ptr<Target>> mTargets GUARDED_BY(mLock);
};

/** The process's service manager: the platform's fake one, and what tests ask of it beyond that. */
class Registry : public android::FakeServiceManager {
  public:
    sp<IBinder> getService(const String16& name) const override { return lookUp("get ", name); }
    sp<IBinder> checkService(const String16& name) const override { return lookUp("check ", name); }

    Vector<String16> listServices(int dumpFlags) override {
        const ScopedLock lock(mLock);
        Vector<String16> names = FakeServiceManager::listServices(dumpFlags);
        for (const std::string& name : mGone) names.push_back(String16(name.c_str()));
        return names;
    }

    status_t addService(const String16& name, const sp<IBinder>& service, bool allowIsolated,
                        int dumpFlags) override {
        const std::string key = String8(name).c_str();
        const ScopedLock lock(mLock);
        const auto refusal = mRefusals.find(key);
        if (refusal != mRefusals.end()) return refusal->second;
        const status_t status =
                FakeServiceManager::addService(name, service, allowIsolated, dumpFlags);
        if (status == android::OK) mAdded.push_back({key, service, allowIsolated, dumpFlags});
        mChanged.notify_all();
        return status;
    }

    /** The fake one does not wait. */
    sp<IBinder> waitForService(const String16& name) override {
        ScopedLock lock(mLock);
        mLookUps.push_back(std::string("waitFor ") + String8(name).c_str());
        mChanged.notify_all();
        while (FakeServiceManager::checkService(name) == nullptr) mChanged.wait(lock);
        return FakeServiceManager::checkService(name);
    }

    void publish(const std::string& name, const sp<IBinder>& binder) {
        const ScopedLock lock(mLock);
        FakeServiceManager::addService(String16(name.c_str()), binder, false, 0);
        mChanged.notify_all();
    }

    /** Takes away each service for which `isMeant` holds. The fake one only clears as a whole. */
    void withdraw(const std::function<bool(const String16&, const sp<IBinder>&)>& isMeant) {
        const ScopedLock lock(mLock);
        std::map<String16, sp<IBinder>> others;
        for (const String16& name : FakeServiceManager::listServices(0)) {
            const sp<IBinder> service = FakeServiceManager::checkService(name);
            if (!isMeant(name, service)) others[name] = service;
        }
        clear();
        for (const auto& [name, service] : others) {
            FakeServiceManager::addService(name, service, false, 0);
        }
    }

    void reset() {
        std::vector<AddedService> added;
        const ScopedLock lock(mLock);
        clear();
        added.swap(mAdded);
        mLookUps.clear();
        mRefusals.clear();
        mGone.clear();
        mHidden = false;
    }

    std::vector<std::string> lookUps() const {
        const ScopedLock lock(mLock);
        return mLookUps;
    }

    void waitForLookUp(const std::string& lookUp) const {
        ScopedLock lock(mLock);
        while (std::find(mLookUps.begin(), mLookUps.end(), lookUp) == mLookUps.end()) {
            mChanged.wait(lock);
        }
    }

    void refuse(const std::string& name, status_t status) {
        const ScopedLock lock(mLock);
        mRefusals[name] = status;
    }

    void listGone(const std::string& name) {
        const ScopedLock lock(mLock);
        mGone.push_back(name);
    }

    std::vector<AddedService> added() const {
        const ScopedLock lock(mLock);
        return mAdded;
    }

    std::atomic<bool> mHidden{false};

    static sp<Registry> instance() {
        static const sp<Registry>* const registry = new sp<Registry>(new Registry);
        return *registry;
    }

  private:
    sp<IBinder> lookUp(const char* how, const String16& name) const {
        const ScopedLock lock(mLock);
        mLookUps.push_back(how + std::string(String8(name).c_str()));
        mChanged.notify_all();
        return FakeServiceManager::checkService(name);
    }

    mutable Mutex mLock;  // also held for each use of the base class, which has no lock
    mutable std::condition_variable_any mChanged;
    std::map<std::string, status_t> mRefusals GUARDED_BY(mLock);
    std::vector<std::string> mGone GUARDED_BY(mLock);
    std::vector<AddedService> mAdded GUARDED_BY(mLock);
    mutable std::vector<std::string> mLookUps GUARDED_BY(mLock);
};

void Target::die() {
    Registry::instance()->withdraw(
            [this](const String16&, const sp<IBinder>& service) { return service == mProxy; });
    {
        const ScopedLock lock(mLock);
        mAlive = false;
        mBlocked = false;
    }
    mChanged.notify_all();
    std::thread([proxy = mProxy] { proxy->sendObituary(); }).join();
}

}  // namespace

ndk::SpAIBinder RemoteService::ndkProxy() const {
    return ndk::SpAIBinder(AIBinder_fromPlatformBinder(proxy()));
}

std::shared_ptr<RemoteService> publish(const std::string& name, const sp<IBinder>& local) {
    const std::shared_ptr<Target> target = Handles::instance().add(local);
    Registry::instance()->publish(name, target->proxy());
    return {target.get(), [target](RemoteService* service) { service->unblock(); }};
}

std::shared_ptr<RemoteService> publish(const std::string& name, const ndk::SpAIBinder& local) {
    return publish(name, AIBinder_toPlatformBinder(local.get()));
}

void withdraw(const std::string& name) {
    Registry::instance()->withdraw([&name](const String16& other, const sp<IBinder>&) {
        return other == String16(name.c_str());
    });
}

void reset() {
    Registry::instance()->reset();
}

std::vector<AddedService> addedServices() {
    return Registry::instance()->added();
}

std::vector<std::string> lookUps() {
    return Registry::instance()->lookUps();
}

void waitForLookUp(const std::string& lookUp) {
    Registry::instance()->waitForLookUp(lookUp);
}

void listGone(const std::string& name) {
    Registry::instance()->listGone(name);
}

void refuseService(const std::string& name, status_t status) {
    Registry::instance()->refuse(name, status);
}

void hideServiceManager(bool hidden) {
    Registry::instance()->mHidden = hidden;
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
    const auto target = zstats::inprocess::Handles::instance().find(handle);
    if (target == nullptr) return android::DEAD_OBJECT;
    return target->transact(code, data, reply, flags);
}

android::sp<android::IServiceManager> inProcessServiceManager() __asm__(
        "__wrap__ZN7android21defaultServiceManagerEv");

android::sp<android::IServiceManager> inProcessServiceManager() {
    const auto registry = zstats::inprocess::Registry::instance();
    if (registry->mHidden) return nullptr;
    return registry;
}
