#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/inprocess/InProcessBinder.h"

namespace zstats {

/**
 * Vendor services for tests. Each is published under its real name when it is constructed and is
 * reached through a genuine proxy; remote() makes it die, hang or refuse. Settings may change at
 * any time, also while calls run.
 */

/** The handle factory. A key that was never set is answered with an error status. */
class FakeHandleFactory {
  public:
    static constexpr char kName[] = "vendor.norda.hardware.handlefactory.IHandleFactory/default";

    FakeHandleFactory();
    /** Dies, so that the process-wide client drops its connection before the next test. */
    ~FakeHandleFactory();

    /** From now on `key` is answered with this text and result code. */
    void set(const std::string& key, const std::string& text, int32_t code = 0);
    /** Successive reads of `key` get these texts; the last one stays. */
    void setSeries(const std::string& key, std::vector<std::string> texts);
    /** From now on `key` is answered with an error status. */
    void fail(const std::string& key);

    /** The (key, flag) pairs that were asked for, oldest first. */
    std::vector<std::pair<std::string, int32_t>> reads() const;

    /** Publishes again after remote().die(); the texts are kept. */
    void publish();
    inprocess::RemoteService& remote() { return *mRemote; }

  private:
    class Service;
    std::shared_ptr<Service> mService;
    std::shared_ptr<inprocess::RemoteService> mRemote;
};

/**
 * The charger. A method that was never set is answered with an error status. Its client belongs to
 * one callback object and is told of the death through that object's address: do not let it die
 * after a callback object that used it is gone.
 */
class FakeCharger {
  public:
    static constexpr char kName[] = "vendor.norda.hardware.charger.ICharger/default";

    FakeCharger();
    ~FakeCharger();

    void set(const std::string& method, int32_t value);
    void fail(const std::string& method);
    /** The methods that were called, oldest first. */
    std::vector<std::string> calls() const;

    void publish();
    /** Publishes the object itself, without a proxy: out values then arrive beside error statuses. */
    void publishLocal();
    inprocess::RemoteService& remote() { return *mRemote; }

  private:
    class Service;
    std::shared_ptr<Service> mService;
    std::shared_ptr<inprocess::RemoteService> mRemote;
};

/** The touch service, a libbinder object. It answers with an empty text until one is set. */
class FakeTouch {
  public:
    static constexpr char kName[] = "vendor.norda.hardware.touch.INordaTouch/default";

    FakeTouch();
    ~FakeTouch();

    /** Text as UTF-8. */
    void setText(const std::string& text);
    /** From now on the calls are answered with an error status. */
    void fail();
    /** The (deviceId, nodeFlag) pairs that were asked for, oldest first. */
    std::vector<std::pair<int32_t, int32_t>> reads() const;

    void publish();
    /** Publishes the object itself, without a proxy: the text then arrives beside an error status. */
    void publishLocal();
    inprocess::RemoteService& remote() { return *mRemote; }

  private:
    class Service;
    android::sp<Service> mService;
    std::shared_ptr<inprocess::RemoteService> mRemote;
};

}  // namespace zstats
