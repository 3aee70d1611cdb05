#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/PublishedFake.h"

namespace zstats {

/** The handle factory. A key that was never set is answered with an error status. */
class FakeHandleFactory : public PublishedFake {
  public:
    static constexpr char kName[] = "vendor.norda.hardware.handlefactory.IHandleFactory/default";

    FakeHandleFactory();
    /** Dies, so that the process-wide client drops its connection before the next test. */
    ~FakeHandleFactory() { remote().die(); }

    /** From now on `key` is answered with this text and result code. */
    void set(const std::string& key, const std::string& text, int32_t code = 0);
    /** Successive reads of `key` get these texts; the last one stays. */
    void setSeries(const std::string& key, std::vector<std::string> texts, int32_t code = 0);
    /** From now on `key` is answered with an error status. */
    void fail(const std::string& key);

    /** The (key, flag) pairs that were asked for, oldest first. */
    std::vector<std::pair<std::string, int32_t>> reads() const;

  private:
    struct Service;
    explicit FakeHandleFactory(std::shared_ptr<Service> service);
    const std::shared_ptr<Service> mService;
};

/**
 * The charger. A method that was never set is answered with an error status. Its client belongs to
 * one callback object and is told of the death through that object's address: do not let it die
 * after a callback object that used it is gone.
 */
class FakeCharger : public PublishedFake {
  public:
    static constexpr char kName[] = "vendor.norda.hardware.charger.ICharger/default";

    FakeCharger();

    void set(const std::string& method, int32_t value);
    /** From now on `method` is answered with an error status, beside the value that was set. */
    void fail(const std::string& method);
    /** The methods that were called, oldest first. */
    std::vector<std::string> calls() const;

  private:
    struct Service;
    explicit FakeCharger(std::shared_ptr<Service> service);
    const std::shared_ptr<Service> mService;
};

/** The touch service, a libbinder object. It answers with an empty text until one is set. */
class FakeTouch : public PublishedFake {
  public:
    static constexpr char kName[] = "vendor.norda.hardware.touch.INordaTouch/default";

    FakeTouch();

    /** Text as UTF-8. */
    void setText(const std::string& text);
    /** From now on the calls are answered with an error status. */
    void fail();
    /** The (deviceId, nodeFlag) pairs that were asked for, oldest first. */
    std::vector<std::pair<int32_t, int32_t>> reads() const;

  private:
    struct Service;
    explicit FakeTouch(Service* service);
    Service* const mService;  // owned by the base
};

}  // namespace zstats
