#include "vdevice/lib/FaultyBinder.h"

#include <binder/Parcel.h>
#include <binder/Stability.h>
#include <binder/Status.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <utility>

#include "vdevice/lib/profile/ProfileFiles.h"

namespace zstats::vdevice {

using android::Parcel;
using android::status_t;
using android::String16;
using android::binder::Status;

namespace {

constexpr size_t kMegabytes = 2 << 20;
constexpr size_t kGarbageBytes = 64;
constexpr char kGarbage = 'Z';
constexpr useconds_t kLongestDelayUs = 20'000;

status_t writeBytes(Parcel* reply, size_t count) {
    void* bytes = reply->writeInplace(count);
    if (bytes == nullptr) return android::NO_MEMORY;
    memset(bytes, kGarbage, count);
    return android::OK;
}

useconds_t nextDelay() {
    static std::atomic<useconds_t> calls{0};
    constexpr useconds_t kStride = 7919;  // with the range, a permutation of all delays
    return ++calls * kStride % kLongestDelayUs;
}

}  // namespace

FaultyBinder::FaultyBinder(std::string name, const android::sp<IBinder>& service)
      : mName(std::move(name)), mService(service) {
    // The wrapper has the stability of the service that it replaces.
    if (android::internal::Stability::requiresVintfDeclaration(service)) {
        android::internal::Stability::markVintf(this);
    }
}

const String16& FaultyBinder::getInterfaceDescriptor() const {
    return mService->getInterfaceDescriptor();
}

status_t FaultyBinder::onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    const auto faults = keyValueLines(readProfileFile(profilePath(profile::kFaults)).value_or(""));
    const auto fault = faults.find(mName);
    if (fault == faults.end()) return mService->transact(code, data, reply, flags);
    return answer(fault->second, code, data, reply, flags);
}

status_t FaultyBinder::answer(const std::string& fault, uint32_t code, const Parcel& data,
                              Parcel* reply, uint32_t flags) {
    if (fault == "interface" && code == INTERFACE_TRANSACTION) {
        return reply->writeString16(String16("com.norda.Other"));
    }
    // Pings, dumps and descriptors work as usual, so that tools can look at a faulty service.
    if (code < FIRST_CALL_TRANSACTION || code > LAST_CALL_TRANSACTION) {
        return mService->transact(code, data, reply, flags);
    }
    if (fault == "interface") return android::BAD_TYPE;
    if (fault == "status") return android::INVALID_OPERATION;
    if (fault == "error") {
        return Status::fromExceptionCode(Status::EX_UNSUPPORTED_OPERATION).writeToParcel(reply);
    }
    if (fault == "garbage") return writeBytes(reply, kGarbageBytes);
    if (fault == "disorder") usleep(nextDelay());
    const status_t status = mService->transact(code, data, reply, flags);
    if (status != android::OK || fault != "megabytes") return status;
    // After the correct answer: a client that reads only its fields must not notice.
    reply->setDataPosition(reply->dataSize());
    return writeBytes(reply, kMegabytes);
}

}  // namespace zstats::vdevice
