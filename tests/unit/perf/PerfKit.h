#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/system_properties.h>

#include <memory>
#include <string>
#include <vector>

#include "daemon/Log.h"
#include "host/inprocess/InProcessBinder.h"
#include "host/properties/PropertyStore.h"
#include "host/stats/EventList.h"
#include "tests/support/Events.h"
#include "tests/support/FakePlatformServices.h"
#include "tests/support/FakeVendorServices.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempTree.h"

namespace zstats {

using testing::ElementsAre;
using testing::IsEmpty;

using Fields = std::vector<Field>;

/** The fields of each event that `append` puts into a list; all must be built and of `tag`. */
template <typename Append>
std::vector<Fields> fieldsFrom(int32_t tag, Append append) {
    AStatsEventList list;
    append(&list);
    std::vector<Fields> fields;
    for (const Event& event : eventsOf(list)) {
        EXPECT_TRUE(event.built);
        EXPECT_EQ(event.atomId, tag);
        fields.push_back(event.fields);
    }
    return fields;
}

/** Vendor and platform services, properties and log of a device of which nothing is set yet. */
class PerfTest : public testing::Test {
  protected:
    PerfTest() {
        properties::clearProperties();
        gLogLevel = 2;
    }
    ~PerfTest() override {
        inprocess::reset();
        properties::clearProperties();
        gLogLevel = 1;
    }

    void useQcom() { __system_property_set("ro.hardware", "qcom"); }

    /** The callback object, made at the first use, after the device was set up. */
    ZStatsPullAtomCallback& callback() {
        if (mCallback == nullptr) mCallback = std::make_unique<ZStatsPullAtomCallback>();
        return *mCallback;
    }
    std::vector<Fields> pull(int32_t tag) {
        return fieldsFrom(tag, [&](AStatsEventList* list) { pullInto(list, callback(), tag); });
    }
    size_t errors(const std::string& text) { return mLog.count(ANDROID_LOG_ERROR, text); }
    size_t debugs(const std::string& text) { return mLog.count(ANDROID_LOG_DEBUG, text); }
    size_t infos(const std::string& text) { return mLog.count(ANDROID_LOG_INFO, text); }
    size_t warnings(const std::string& text) { return mLog.count(ANDROID_LOG_WARN, text); }

    LogCapture mLog;
    FakeHandleFactory mFactory;

  private:
    std::unique_ptr<ZStatsPullAtomCallback> mCallback;
};

}  // namespace zstats
