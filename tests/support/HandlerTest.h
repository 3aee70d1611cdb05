#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/system_properties.h>

#include <algorithm>
#include <string>
#include <vector>

#include "daemon/PullDispatch.h"
#include "daemon/ZStatsPullAtomCallback.h"
#include "daemon/base/Log.h"
#include "host/properties/PropertyStore.h"
#include "tests/support/InProcessBinder.h"
#include "tests/support/LogCapture.h"

namespace zstats {

/** Pulls `tag` into `list` as statsd does. */
inline void pullInto(AStatsEventList* list, ZStatsPullAtomCallback& callback, int32_t tag) {
    EXPECT_EQ(onPullAtom(tag, list, &callback), AStatsManager_PULL_SUCCESS);
}

/** A callback object without services and properties, and the daemon's log. */
class HandlerTest : public ::testing::Test {
  protected:
    HandlerTest() { log.clear(); }
    ~HandlerTest() override {
        gLogLevel = 1;
        inprocess::reset();
        properties::clearProperties();
    }

    /** The daemon's log lines since the last call, as "W text", without those of the dispatch. */
    std::vector<std::string> takeLines() {
        std::vector<std::string> lines = log.take();
        const auto ofDispatch = [](const std::string& line) {
            return line.find("matching handler for atomTag") != std::string::npos;
        };
        lines.erase(std::remove_if(lines.begin(), lines.end(), ofDispatch), lines.end());
        return lines;
    }

    LogCapture log;
    ZStatsPullAtomCallback callback;
};

}  // namespace zstats
