#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/system_properties.h>

#include <string>
#include <vector>

#include "daemon/Log.h"
#include "daemon/ZStatsPullAtomCallback.h"
#include "host/inprocess/InProcessBinder.h"
#include "host/properties/PropertyStore.h"
#include "tests/support/Events.h"
#include "tests/support/LogCapture.h"

namespace zstats {

/** The letters under which the log's tools show priorities. */
inline std::string logLetter(int priority) {
    constexpr char kLetters[] = "??VDIWEF";
    return {priority >= 0 && priority <= ANDROID_LOG_FATAL ? kLetters[priority] : '?'};
}

/** A callback object of its own, without any service or property, and the daemon's log. */
class HandlerTest : public ::testing::Test {
  protected:
    HandlerTest() { log.clear(); }
    ~HandlerTest() override {
        gLogLevel = 1;
        inprocess::reset();
        properties::clearProperties();
    }

    /** The daemon's lines since the last call, as "W text"; without those of the dispatch. */
    std::vector<std::string> takeLines() {
        std::vector<std::string> lines;
        for (const LogLine& line : log.linesOf(kLogTag)) {
            if (line.text.find("matching handler for atomTag") != std::string::npos) continue;
            lines.push_back(logLetter(line.priority) + " " + line.text);
        }
        log.clear();
        return lines;
    }

    std::vector<int32_t> pull(int32_t tag) { return pullInts(callback, tag); }

    LogCapture log;
    ZStatsPullAtomCallback callback;
};

}  // namespace zstats
