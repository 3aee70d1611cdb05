#pragma once

#include <gtest/gtest.h>
#include <stats_pull_atom_callback.h>

#include <memory>
#include <string>
#include <vector>

#include "daemon/AtomTable.h"
#include "daemon/Log.h"
#include "host/inprocess/InProcessBinder.h"
#include "host/properties/PropertyStore.h"
#include "host/stats/PullRegistry.h"
#include "tests/support/FakeStatsd.h"
#include "tests/support/HandlerTest.h"
#include "tests/support/LogCapture.h"
#include "tests/support/SubstituteProfile.h"

namespace zstats {

using Lines = std::vector<std::string>;

/** The daemon's lines so far, as "W text". */
inline Lines daemonLines(const LogCapture& log) {
    Lines lines;
    for (const LogLine& line : log.linesOf(kLogTag)) {
        lines.push_back(logLetter(line.priority) + " " + line.text);
    }
    return lines;
}

/**
 * A test with a statsd of its own. The pull library keeps its connection for the whole process, so
 * the statsd of the test before dies only now, when the library finds the new one at once.
 */
class StatsdTest : public testing::Test {
  protected:
    StatsdTest() {
        inprocess::reset();
        renewStatsd();
        mLog.clear();
    }

    ~StatsdTest() override {
        // The callbacks outlive the service on purpose; no other test may pull through them.
        for (const AtomEntry& entry : kAtomTable) AStatsManager_clearPullAtomCallback(entry.tag);
        PullRegistry::instance().join();
        inprocess::reset();
        properties::clearProperties();
        gLogLevel = 1;
    }

    /** Publishes a new statsd, then lets the one before die. */
    void renewStatsd() {
        static auto* living = new std::shared_ptr<inprocess::RemoteService>;
        mStatsd = new FakeStatsd();
        mRemoteStatsd = inprocess::publish("stats", android::sp<android::IBinder>(mStatsd));
        if (*living != nullptr) (*living)->die();
        *living = mRemoteStatsd;
    }

    SubstituteProfile mProfile;
    LogCapture mLog;
    android::sp<FakeStatsd> mStatsd;
    std::shared_ptr<inprocess::RemoteService> mRemoteStatsd;
};

}  // namespace zstats
