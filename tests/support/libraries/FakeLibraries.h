#pragma once

#include <stats_pull_atom_callback.h>

#include <functional>
#include <string>
#include <vector>

#include "vendor/include/zbpf_connection.h"

/**
 * The closed libraries and the pull library as a test program links them in place of the real ones:
 * each call is recorded, in one order for all of them, and answered as the test wants it.
 */
namespace zstats::libraries {

/** What the libraries answer; the values are those of a device that supports everything. */
struct Answers {
    bool featureEnabled = true;
    int bpfEnabled = 1;
    int bpfTypes = 1;
    int bpfRegion = 1;
    /** Of the first connection; the next one gets the number after it. */
    int bpfConnection = 40;
    /** Runs in each zbpf_connect_exit. */
    std::function<void()> atExit;
};

/** Starts anew with these answers, and with nothing recorded. */
void reset(Answers answers = {});

/**
 * The calls since the last take, by function with its arguments: "zbpf_connect_exit 41 pullerd_kw".
 * The set-up of a registration is part of its call, "setPullAtomCallback 150005 1000 2000 0": tag,
 * cool-down and time-out in ms, number of additive fields.
 */
std::vector<std::string> takeCalls();

/** The request of the last zbpf_connect_start. */
zbpf_connect_request lastRequest();

struct Registration {
    int32_t tag;
    AStatsManager_PullAtomCallback callback;
    void* cookie;
};

/** The registrations since reset(), in order. */
std::vector<Registration> registrations();

/** How many metadata objects were obtained and not released. */
int metadataInUse();

}  // namespace zstats::libraries
