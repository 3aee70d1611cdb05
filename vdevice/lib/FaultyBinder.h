#pragma once

#include <binder/Binder.h>

#include <string>

namespace zstats::vdevice {

/**
 * A published service as the profile's file "faults" wants it: a line NAME=FAULT, read at each call.
 * Without one, calls pass through. Any thread, if the service's calls may come on any.
 *
 * | Fault | A call |
 * |---|---|
 * | error | is answered with an exception |
 * | status | fails with a status |
 * | interface | fails, as a service of another interface would let it, and tells another descriptor |
 * | megabytes | is answered with 2 MB behind the right answer |
 * | garbage | is answered with 64 bytes of no meaning |
 * | disorder | is answered after up to 20 ms, so that later calls overtake it |
 */
class FaultyBinder : public android::BBinder {
  public:
    FaultyBinder(std::string name, const android::sp<android::IBinder>& service);

    const android::String16& getInterfaceDescriptor() const override;

  protected:
    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t flags) override;

  private:
    android::status_t answer(const std::string& fault, uint32_t code, const android::Parcel& data,
                             android::Parcel* reply, uint32_t flags);

    const std::string mName;
    const android::sp<android::IBinder> mService;
};

}  // namespace zstats::vdevice
