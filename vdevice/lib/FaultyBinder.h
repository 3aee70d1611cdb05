#pragma once

#include <binder/Binder.h>

#include <string>

namespace zstats::vdevice {

/**
 * Wraps a published service and applies the fault of the profile's file "faults": a line
 * NAME=FAULT, read at each call. Without one, calls pass through. As thread-safe as the service.
 *
 * | Fault | A call |
 * |---|---|
 * | error | is answered with an exception |
 * | status | fails with a status |
 * | interface | fails as with a service of another interface, whose descriptor it reports |
 * | megabytes | is answered with 2 MB after the correct answer |
 * | garbage | is answered with 64 meaningless bytes |
 * | disorder | is answered after up to 20 ms, so that later calls overtake earlier ones |
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
