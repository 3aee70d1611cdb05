#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace zstats::vdevice {

/**
 * The tags under which the bare puller answers: an atom's own plus one of these. The first is
 * answered at once; for the second the puller makes the calls and reads the files of the atom's
 * sources, and throws away what it got. Neither has events.
 */
inline constexpr int32_t kEmptyOffset = 1000;
inline constexpr int32_t kCallsOffset = 2000;

/** A call to a service, or the reading of a file, with the connection at hand. */
using BareCall = std::function<void()>;

/**
 * What an atom's handler has to ask of others on this device, and nothing else. Looks the services
 * up; one that is not there is left out. The calls themselves may be made on any thread.
 */
std::vector<BareCall> bareCallsOf(int32_t tag);

/**
 * The bare puller: a process like the daemon, with as many binder threads, that registers all
 * atoms under the first offset and with `withCalls` under the second too. Does not return.
 */
int servePuller(bool withCalls);

/**
 * The commands that stand in statsd's place; see main.cpp. They publish "stats", wait for the
 * registrations that they need, and print lines of words. Numbers are ns where nothing else is said.
 */
int serveRegistrations();
int measureLatency(int rounds, int repeats);
int measureThroughput(int millis, int repeats);
int pullUnderLoad(std::string_view load, int millis);
int soak(int pulls);

/** Subscriptions that come and go, `count` of them; to be run as root or system. */
int subscribe(int count);

/**
 * Registers a list of `ids` pulled ids `count` times, for streams that have no reader, and prints
 * how often the daemon answered what; to be run as root or system.
 */
int registerLists(int count, int ids);

}  // namespace zstats::vdevice
