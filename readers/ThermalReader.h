#pragma once

#include <binder/IBinder.h>
#include <binder/Parcel.h>
#include <utils/RefBase.h>
#include <utils/String16.h>

#include <cstdint>
#include <string>
#include <vector>

#include "daemon/base/AtomicPointer.h"
#include "daemon/base/Mutex.h"

namespace zstats {

/**
 * Client of the maker's thermal service "calda". Connects at construction, and at each query while
 * it has no connection. Queries may run on any thread.
 */
class ThermalReader {
  public:
    enum TemperatureType : int32_t { AMBIENT = 0, BOARD = 1, SHELL = 2 };

    /** Tries the connection once. */
    ThermalReader();
    /** Unlinks the death notice. No query may be running. */
    ~ThermalReader();
    ThermalReader(const ThermalReader&) = delete;
    ThermalReader& operator=(const ThermalReader&) = delete;

    /** Connects to the service unless it is connected. Never waits for it. */
    void getCaldaService();
    /** The service's own status code. Returns 0, or -1 with `status` untouched. */
    int getThermalStatus(int& status);
    /**
     * Temperatures in milli-degrees Celsius: one for AMBIENT and BOARD, three for SHELL. Returns 0,
     * or -1 on failure. `out` is cleared once the service is reached.
     */
    int getTemperatureInMilliCelsius(TemperatureType type, std::vector<int>& out);

  private:
    class ThermalDeathRecipient : public android::IBinder::DeathRecipient {
      public:
        explicit ThermalDeathRecipient(ThermalReader* reader) : mReader(reader) {}
        void binderDied(const android::wp<android::IBinder>& who) override;

      private:
        ThermalReader* mReader;
    };

    /** Writes the interface token, connects, and returns the binder; null when either fails. */
    android::sp<android::IBinder> beginQuery(android::Parcel& data);
    void dropIfHeld(const android::wp<android::IBinder>& who) REQUIRES(mLock);

    const std::string mServiceName;
    const android::String16 mDescriptor;
    AtomicSp<android::IBinder> mCaldaBinder;  // no lock: queries load it while a notice clears it
    android::sp<ThermalDeathRecipient> mDeathRecipient;
    RecursiveMutex mLock;  // held while a death notice inspects and clears mCaldaBinder
};

}  // namespace zstats
