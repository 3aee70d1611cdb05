#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/PublishedFake.h"

namespace zstats {

/** The maker's thermal service: raw transactions behind an interface token, replies of int32. */
class FakeCalda : public PublishedFake {
  public:
    static constexpr char kName[] = "calda";
    static constexpr uint32_t kStatus = 4;
    static constexpr uint32_t kShell = 21;
    static constexpr uint32_t kAmbient = 25;

    FakeCalda();

    /** From now on `code` is answered with these words. A code that was never set is unknown. */
    void set(uint32_t code, std::vector<int32_t> words);
    /** Calls that came without the right interface token; these are refused. */
    int wrongTokens() const;

  private:
    struct Service;
    explicit FakeCalda(Service* service);
    Service* const mService;  // owned by the base
};

/** The platform's thermal service, down to the query of temperatures by type. */
class FakeThermalService : public PublishedFake {
  public:
    static constexpr char kName[] = "thermalservice";

    FakeThermalService();

    /** Temperatures in degrees Celsius; every type is answered with these. */
    void set(std::vector<float> temperatures);
    /** From now on queries fail with this exception code; 0 ends that. */
    void setException(int32_t code);
    /** The types that were asked for, oldest first. */
    std::vector<int32_t> types() const;

  private:
    struct Service;
    explicit FakeThermalService(Service* service);
    Service* const mService;  // owned by the base
};

/** The audio service, down to its monitor of the amplifier's power. */
class FakeAudio : public PublishedFake {
  public:
    static constexpr char kName[] = "audio";
    static constexpr uint32_t kMonitor = 129;

    FakeAudio();

    /** The reply's text; null: the reply holds no text at all. */
    void set(const char* text);
    /** The bytes of the last request. */
    std::string request() const;

  private:
    struct Service;
    explicit FakeAudio(Service* service);
    Service* const mService;  // owned by the base
};

}  // namespace zstats
