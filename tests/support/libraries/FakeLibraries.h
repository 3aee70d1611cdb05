#pragma once

#include <stats_pull_atom_callback.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace zstats {

/**
 * Fakes of the closed libraries and the pull library: they record each call and answer as the test
 * says. For calls on the test's thread.
 */
struct Libraries {
    struct Registration {
        AStatsManager_PullAtomCallback callback;
        void* cookie;
    };

    // The answers. The defaults are those of a device that supports everything.
    bool featureEnabled = true;
    int bpfEnabled = 1;
    int bpfTypes = 1;
    int bpfRegion = 1;
    int bpfConnection = 40;        // of the first connection; each further one adds 1
    std::function<void()> atExit;  // runs in each zbpf_connect_exit

    /**
     * The calls of all libraries in their order, with their arguments. The set-up of a registration
     * is part of its call: "setPullAtomCallback 150005 1000 2000 0" holds the tag, cool-down and
     * time-out in ms, and the number of additive fields.
     */
    std::vector<std::string> calls;
    std::vector<Registration> registrations;
    int metadataInUse = 0;  // obtained and not released

    std::vector<std::string> takeCalls() { return std::exchange(calls, {}); }
};

extern Libraries gLibraries;

}  // namespace zstats
