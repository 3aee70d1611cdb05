#pragma once

#include <binder/Parcel.h>
#include <binder/Parcelable.h>
#include <utils/String16.h>

#include <cstdint>

namespace android::os {

/**
 * A temperature of the platform's thermal service, with the wire format of libpowermanager's class,
 * which Debian does not package.
 */
class Temperature : public Parcelable {
  public:
    Temperature() = default;
    /** `value` in degrees Celsius; `type` and `status` are enumerators of the service. */
    Temperature(float value, int32_t type, const String16& name, int32_t status)
          : mValue(value), mType(type), mName(name), mStatus(status) {}

    status_t writeToParcel(Parcel* parcel) const override {
        status_t result = parcel->writeFloat(mValue);
        if (result == OK) result = parcel->writeInt32(mType);
        if (result == OK) result = parcel->writeString16(mName);
        if (result == OK) result = parcel->writeInt32(mStatus);
        return result;
    }

    status_t readFromParcel(const Parcel* parcel) override {
        status_t result = parcel->readFloat(&mValue);
        if (result == OK) result = parcel->readInt32(&mType);
        if (result == OK) result = parcel->readString16(&mName);
        if (result == OK) result = parcel->readInt32(&mStatus);
        return result;
    }

    float mValue = 0.0f;  // degrees Celsius
    int32_t mType = -1;   // -1 unknown, 0 CPU, 1 GPU, 2 battery, 3 skin, ...
    String16 mName;       // the sensor's name
    int32_t mStatus = 0;  // throttling: 0 none to 6 shutdown
};

}  // namespace android::os
