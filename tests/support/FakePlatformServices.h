#pragma once

#include <utils/StrongPointer.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/inprocess/InProcessBinder.h"

namespace zstats {

/**
 * The maker's and the platform's own services for tests. Each is published under its real name when
 * it is constructed and is reached through a genuine proxy; remote() makes it die, hang or refuse.
 * Settings may change at any time, also while calls run.
 */

/** The maker's thermal service: raw transactions behind an interface token, replies of int32. */
class FakeCalda {
  public:
    static constexpr char kName[] = "calda";
    static constexpr uint32_t kStatus = 4;
    static constexpr uint32_t kShell = 21;
    static constexpr uint32_t kAmbient = 25;

    FakeCalda();
    ~FakeCalda();

    /** From now on `code` is answered with these words. A code that was never set is unknown. */
    void set(uint32_t code, std::vector<int32_t> words);
    /** Calls that came without the right interface token; these are refused. */
    int wrongTokens() const;

    /** Publishes again after remote().die(); the replies are kept. */
    void publish();
    inprocess::RemoteService& remote() { return *mRemote; }

  private:
    class Service;
    android::sp<Service> mService;
    std::shared_ptr<inprocess::RemoteService> mRemote;
};

/** The platform's thermal service, down to the query of temperatures by type. */
class FakeThermalService {
  public:
    static constexpr char kName[] = "thermalservice";

    FakeThermalService();
    ~FakeThermalService();

    /** Temperatures in degrees Celsius; every type is answered with these. */
    void set(std::vector<float> temperatures);
    /** From now on queries fail with this exception code; 0 ends that. */
    void setException(int32_t code);
    /** The types that were asked for, oldest first. */
    std::vector<int32_t> types() const;

    inprocess::RemoteService& remote() { return *mRemote; }

  private:
    class Service;
    android::sp<Service> mService;
    std::shared_ptr<inprocess::RemoteService> mRemote;
};

/** The audio service, down to its monitor of the amplifier's power. */
class FakeAudio {
  public:
    static constexpr char kName[] = "audio";
    static constexpr uint32_t kMonitor = 129;

    FakeAudio();
    ~FakeAudio();

    /** The reply's text. */
    void set(const std::string& text);
    /** From now on the reply holds no text at all. */
    void setNoText();
    /** The bytes of the last request. */
    std::string request() const;

    inprocess::RemoteService& remote() { return *mRemote; }

  private:
    class Service;
    android::sp<Service> mService;
    std::shared_ptr<inprocess::RemoteService> mRemote;
};

}  // namespace zstats
