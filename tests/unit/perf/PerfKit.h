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

using Fields = std::vector<Field>;

/** The fields of each event, all of which must be built and of the atom `tag`. */
inline std::vector<Fields> fieldsOf(const std::vector<Event>& events, int32_t tag) {
    std::vector<Fields> fields;
    for (const Event& event : events) {
        EXPECT_TRUE(event.built);
        EXPECT_EQ(event.atomId, tag);
        fields.push_back(event.fields);
    }
    return fields;
}

/** The events that `append` puts into a list. */
template <typename Append>
std::vector<Event> eventsFrom(Append append) {
    AStatsEventList list;
    append(&list);
    std::vector<Event> events;
    for (const std::vector<uint8_t>& bytes : encodedEvents(list)) {
        const auto event = readEvent(bytes.data(), bytes.size());
        EXPECT_TRUE(event.has_value());
        if (event) events.push_back({event->atomId, event->built, event->fields});
    }
    return events;
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
    std::vector<Fields> pull(int32_t tag) { return fieldsOf(pullEvents(callback(), tag), tag); }

    LogCapture mLog;
    FakeHandleFactory mFactory;

  private:
    std::unique_ptr<ZStatsPullAtomCallback> mCallback;
};

}  // namespace zstats
