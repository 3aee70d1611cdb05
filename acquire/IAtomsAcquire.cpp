#include "acquire/IAtomsAcquire.h"

#include <binder/Stability.h>
#include <cutils/trace.h>
#include <utils/Trace.h>

#include "daemon/base/ManualInterface.h"

namespace zstats {

using android::OK;
using android::Parcel;
using android::ScopedTrace;
using android::status_t;
using android::binder::Status;
using android::os::ParcelFileDescriptor;

IMPLEMENT_MANUAL_META_INTERFACE(AtomsAcquire, "com.norda.quill.IAtomsAcquire")

BnAtomsAcquire::BnAtomsAcquire() {
    android::internal::Stability::markCompilationUnit(this);
}

status_t BnAtomsAcquire::onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                    uint32_t flags) {
    status_t result;
    switch (code) {
        case kGetInfoForPulledAtoms:
            result = onGetInfo(data, reply);
            break;
        case kRegisterFdForPushedAtoms:
            result = onRegisterFd(data, reply);
            break;
        default:
            result = BBinder::onTransact(code, data, reply, flags);
            break;
    }
    if (result == android::UNEXPECTED_NULL) {
        return Status::fromExceptionCode(Status::EX_NULL_POINTER).writeOverParcel(reply);
    }
    return result;
}

status_t BnAtomsAcquire::onGetInfo(const Parcel& data, Parcel* reply) {
    if (!data.checkInterface(this)) return android::BAD_TYPE;
    ScopedTrace trace(ATRACE_TAG_AIDL,
                      "AIDL::cpp::IAtomsAcquire::getInfoForPulledAtoms::cppServer");

    std::vector<int32_t> atomIds;
    if (status_t result = data.readInt32Vector(&atomIds); result != OK) return result;
    if (Status status = data.enforceNoDataAvail(); !status.isOk()) {
        return status.writeToParcel(reply);
    }

    std::vector<std::string> info;
    const Status status = getInfoForPulledAtoms(atomIds, &info);
    if (status_t result = status.writeToParcel(reply); result != OK) return result;
    return status.isOk() ? reply->writeUtf8VectorAsUtf16Vector(info) : OK;
}

status_t BnAtomsAcquire::onRegisterFd(const Parcel& data, Parcel* reply) {
    if (!data.checkInterface(this)) return android::BAD_TYPE;
    ScopedTrace trace(ATRACE_TAG_AIDL,
                      "AIDL::cpp::IAtomsAcquire::registerFdForPushedAtoms::cppServer");

    std::vector<int32_t> atomIds;
    if (status_t result = data.readInt32Vector(&atomIds); result != OK) return result;
    ParcelFileDescriptor fd;
    if (status_t result = data.readParcelable(&fd); result != OK) return result;
    if (Status status = data.enforceNoDataAvail(); !status.isOk()) {
        return status.writeToParcel(reply);
    }

    int32_t ret = 0;
    const Status status = registerFdForPushedAtoms(atomIds, fd, &ret);
    if (status_t result = status.writeToParcel(reply); result != OK) return result;
    return status.isOk() ? reply->writeInt32(ret) : OK;
}

BpAtomsAcquire::BpAtomsAcquire(const android::sp<android::IBinder>& remote)
      : BpInterface<IAtomsAcquire>(remote) {}

Status BpAtomsAcquire::getInfoForPulledAtoms(const std::vector<int32_t>& atomIds,
                                             std::vector<std::string>* info) {
    Parcel data;
    Parcel reply;
    status_t result = data.writeInterfaceToken(getInterfaceDescriptor());
    if (result == OK) result = data.writeInt32Vector(atomIds);
    if (result == OK) result = remote()->transact(kGetInfoForPulledAtoms, data, &reply);
    Status status;
    if (result == OK) result = status.readFromParcel(reply);
    if (result == OK && status.isOk()) result = reply.readUtf8VectorFromUtf16Vector(info);
    return result == OK ? status : Status::fromStatusT(result);
}

Status BpAtomsAcquire::registerFdForPushedAtoms(const std::vector<int32_t>& atomIds,
                                                const ParcelFileDescriptor& fd, int32_t* ret) {
    Parcel data;
    Parcel reply;
    status_t result = data.writeInterfaceToken(getInterfaceDescriptor());
    if (result == OK) result = data.writeInt32Vector(atomIds);
    if (result == OK) result = data.writeParcelable(fd);
    if (result == OK) result = remote()->transact(kRegisterFdForPushedAtoms, data, &reply);
    Status status;
    if (result == OK) result = status.readFromParcel(reply);
    if (result == OK && status.isOk()) result = reply.readInt32(ret);
    return result == OK ? status : Status::fromStatusT(result);
}

}  // namespace zstats
