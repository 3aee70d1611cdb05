#pragma once

#include <stats_pull_atom_callback.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host/stats/EventReader.h"

namespace zstats::vdevice {

/** The bare puller answers under an atom's own tag plus this. */
inline constexpr int32_t kBareOffset = 1000;

/** A call to a service, or the reading of a file, with the connection at hand. */
using BareCall = std::function<void()>;

/**
 * What an atom's handler has to ask of others on this device, and nothing else. Looks the services
 * up; one that is not there is left out. The calls themselves may be made on any thread.
 */
std::vector<BareCall> bareCallsOf(int32_t tag);

/**
 * The least that any puller has to do to give an atom's answer: the calls and reads of the atom's
 * sources, whose results are dropped, an event for each of the daemon's, with the same fields, and
 * the log line or regular expression that the atom requires of each pull.
 */
class BareAnswer {
  public:
    /** Looks the atom's services up. */
    explicit BareAnswer(int32_t tag);

    /** Adds an event to the answer: the fields of one that the daemon answered with. */
    void addEvent(std::vector<FieldValue> fields) { mEvents.push_back(std::move(fields)); }

    /** Answers a pull. Any thread. */
    void give(AStatsEventList* data) const;

  private:
    const int32_t mTag;
    std::vector<BareCall> mCalls;
    std::vector<std::vector<FieldValue>> mEvents;
};

/** The callback of a bare puller. The cookie is the BareAnswer; the tag is not used. */
AStatsManager_PullAtomCallbackReturn onBarePull(int32_t tag, AStatsEventList* data, void* cookie);

/**
 * The bare puller: a process like the daemon, with as many binder threads, that registers all
 * atoms and answers with `events`, the daemon's, each as the hexadecimal digits of its bytes.
 * Without events it also makes no calls. Does not return.
 */
int servePuller(const std::vector<std::string>& events);

/**
 * The commands that stand in statsd's place; see main.cpp. They publish "stats", wait for the
 * registrations that they need, and print lines of words. Numbers are ns where nothing else is said.
 */
int serveRegistrations();
int measureLatency(int rounds, int repeats);
int measureThroughput(int millis, int repeats);
int pullUnderLoad(std::string_view load, int millis);

/** Likewise. Prints "paused" after each `pause` pulls and waits for a line of standard input, so
 * that a service can be killed and started meanwhile; then pulls each atom until it is answered as
 * at first. Does not return after the last pull. */
int soak(int pulls, int pause);

/** Subscriptions that come and go, `count` of them, each `every`th with a long list; to be run as
 * root or system. */
int subscribe(int count, int every);

/**
 * Registers a list of `ids` pulled ids `count` times, for streams that have no reader, and prints
 * how often the daemon answered what; to be run as root or system.
 */
int registerLists(int count, int ids);

}  // namespace zstats::vdevice
