#pragma once

#include <binder/IBinder.h>
#include <binder/IInterface.h>
#include <binder/Parcel.h>
#include <binder/ParcelFileDescriptor.h>
#include <binder/Status.h>

#include <cstdint>
#include <string>
#include <vector>

namespace zstats {

/**
 * The interface of the service "atomacq", descriptor com.norda.quill.IAtomsAcquire. It has neither
 * a version nor a hash transaction.
 */
class IAtomsAcquire : public android::IInterface {
  public:
    DECLARE_META_INTERFACE(AtomsAcquire)

    enum : uint32_t {
        kGetInfoForPulledAtoms = android::IBinder::FIRST_CALL_TRANSACTION,
        kRegisterFdForPushedAtoms,
    };

    /** A placeholder, open to every caller: always ok, with an empty `info`. */
    virtual android::binder::Status getInfoForPulledAtoms(const std::vector<int32_t>& atomIds,
                                                          std::vector<std::string>* info) = 0;

    /**
     * Streams the given atoms, as length-prefixed statsd frames, into a duplicate of `fd`. `ret` is
     * 1 when the subscription was handed to statsd, -1 when it could not be. A caller other than
     * root and system gets service-specific error -1. statsd may still refuse: the stream then ends
     * without data.
     */
    virtual android::binder::Status registerFdForPushedAtoms(
            const std::vector<int32_t>& atomIds, const android::os::ParcelFileDescriptor& fd,
            int32_t* ret) = 0;
};

/**
 * Server stub, on the wire equal to what the platform's AIDL compiler generates. Written by hand,
 * because a PC's compilers are older and leave out checks and trace sections.
 */
class BnAtomsAcquire : public android::BnInterface<IAtomsAcquire> {
  public:
    BnAtomsAcquire();

    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t flags) override;

  private:
    android::status_t onGetInfo(const android::Parcel& data, android::Parcel* reply);
    android::status_t onRegisterFd(const android::Parcel& data, android::Parcel* reply);
};

/**
 * Client side. Transport failures come back as a status with exception EX_TRANSACTION_FAILED.
 * Out values are written only when the status is ok.
 */
class BpAtomsAcquire : public android::BpInterface<IAtomsAcquire> {
  public:
    explicit BpAtomsAcquire(const android::sp<android::IBinder>& remote);

    android::binder::Status getInfoForPulledAtoms(const std::vector<int32_t>& atomIds,
                                                  std::vector<std::string>* info) override;
    android::binder::Status registerFdForPushedAtoms(const std::vector<int32_t>& atomIds,
                                                     const android::os::ParcelFileDescriptor& fd,
                                                     int32_t* ret) override;
};

}  // namespace zstats
