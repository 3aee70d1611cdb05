/**
 * Pulls each atom from the daemon's handlers and from a bare puller with the same answer, in this
 * process, with services that answer as those of a phone's profile.
 *
 *   pull_once PROFILE                for callgrind, which ends a profile at the end of each pull: a
 *                                    round to connect and one to count; the first pull of a round
 *                                    is of a tag without a handler. Prints "KIND TAG EVENTS" each.
 *   pull_once PROFILE PULLS REPEATS  prints "time TAG NANOS NANOS" for each repeat as well: the
 *                                    median times of so many pulls, the daemon's and the bare one's
 */
#include <sys/system_properties.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <sstream>
#include <vector>

#include "daemon/AtomTable.h"
#include "daemon/PullDispatch.h"
#include "host/stats/EventList.h"
#include "host/stats/EventReader.h"
#include "tests/support/FakeServices.h"
#include "tests/support/LogCapture.h"
#include "vdevice/lib/profile/CaldaReplies.h"
#include "vdevice/lib/profile/ProfileFiles.h"
#include "vdevice/tools/pullbench/Pullbench.h"
#include "vendor/substitute/Substitute.h"

using namespace zstats;

/** A pull, from the call of the callback to its return: what callgrind looks at. */
extern "C" [[gnu::noinline]] void countedPull(AStatsManager_PullAtomCallback callback, int32_t tag,
                                              AStatsEventList* list, void* cookie) {
    callback(tag, list, cookie);
    asm volatile("");  // no jump in place of the call
}

namespace {

constexpr int32_t kNoAtom = 1;

/** A phone's services, with what its profile has them answer. */
struct Services {
    explicit Services(const std::string& profile) {
        const auto text = [&](const char* name) {
            return vdevice::readProfileFile(profile + "/" + name).value_or("");
        };
        for (const auto& [method, value] : vdevice::keyValueLines(text("charger"))) {
            charger.set(method, vdevice::parseInt(value));
        }
        for (const uint32_t code : {FakeCalda::kStatus, FakeCalda::kShell, FakeCalda::kAmbient}) {
            const auto reply = vdevice::caldaReply(text("calda"), code);
            calda.set(code, reply ? reply->words : std::vector<int32_t>());
        }
        std::istringstream degrees(text("thermal"));
        std::vector<float> temperatures;
        for (float value = 0; degrees >> value;) temperatures.push_back(value);
        thermal.set(temperatures);
        touch.setText(text("touch"));
        audio.set(text("audio"));
        std::error_code none;  // the bare profile has no nodes
        for (const auto& node : std::filesystem::directory_iterator(profile + "/nodes", none)) {
            const std::string name = node.path().filename();
            factory.set(name, text(("nodes/" + name).c_str()));
        }
    }

    FakeCharger charger;
    FakeHandleFactory factory;
    FakeTouch touch;
    FakeCalda calda;
    FakeThermalService thermal;
    FakeAudio audio;
};

/** One of the two that answer: the callback that statsd calls, and its cookie for an atom. */
struct Puller {
    const char* kind;
    AStatsManager_PullAtomCallback callback;
    std::function<void*(int32_t tag)> cookieOf;
};

void pullOnce(const Puller& puller, int32_t tag, AStatsEventList* list) {
    countedPull(puller.callback, tag, list, puller.cookieOf(tag));
    printf("%s %d %zu\n", puller.kind, tag, list->events.size());
}

/** The median time of a pull in ns, of each puller; they take turns. */
std::vector<long long> medians(const std::vector<Puller>& pullers, int32_t tag, size_t pulls) {
    using Clock = std::chrono::steady_clock;
    std::vector<std::vector<long long>> times(pullers.size());
    for (size_t pull = 0; pull < pulls; ++pull) {
        for (size_t i = 0; i < pullers.size(); ++i) {
            AStatsEventList list;
            void* const cookie = pullers[i].cookieOf(tag);
            const Clock::time_point start = Clock::now();
            pullers[i].callback(tag, &list, cookie);
            times[i].push_back((Clock::now() - start).count());
        }
    }
    std::vector<long long> result;
    for (std::vector<long long>& all : times) {
        std::nth_element(all.begin(), all.begin() + all.size() / 2, all.end());
        result.push_back(all[all.size() / 2]);
    }
    return result;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 && argc != 4) return 2;
    LogCapture log;
    substitute::useProfile(argv[1]);
    __system_property_set("ro.hardware", "qcom");
    const Services services(argv[1]);
    static ZStatsPullAtomCallback callback;
    std::map<int32_t, vdevice::BareAnswer> answers;
    const Puller daemon = {"daemon", onPullAtom, [](int32_t) { return &callback; }};
    const Puller copied = {"copied", onPullAtom, daemon.cookieOf};
    const Puller bare = {"bare", vdevice::onBarePull, [&](int32_t tag) { return &answers.at(tag); }};

    for (int round = 0; round < 2; ++round) {
        AStatsEventList none;
        pullOnce(daemon, kNoAtom, &none);
        for (const AtomEntry& entry : kAtomTable) {
            AStatsEventList list;
            pullOnce(daemon, entry.tag, &list);
        }
        log.clear();
    }
    for (const AtomEntry& entry : kAtomTable) {
        AStatsEventList list;
        pullOnce(copied, entry.tag, &list);
        vdevice::BareAnswer& answer = answers.emplace(entry.tag, entry.tag).first->second;
        for (const auto& bytes : encodedEvents(list)) {
            answer.addEvent(readEvent(bytes.data(), bytes.size()).value().fields);
        }
    }
    for (int round = 0; round < 2; ++round) {
        for (const AtomEntry& entry : kAtomTable) {
            AStatsEventList list;
            pullOnce(bare, entry.tag, &list);
        }
    }
    for (int repeat = 0; argc == 4 && repeat < atoi(argv[3]); ++repeat) {
        for (const AtomEntry& entry : kAtomTable) {
            const auto nanos = medians({daemon, bare}, entry.tag, strtoul(argv[2], nullptr, 10));
            printf("time %d %lld %lld\n", entry.tag, nanos[0], nanos[1]);
            log.clear();
        }
    }
    return 0;
}
