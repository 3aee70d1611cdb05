#include <android-base/hex.h>
#include <utils/SystemClock.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <numeric>
#include <thread>

#include "cli/lib/atoms/AtomCatalogue.h"
#include "vdevice/tools/pullbench/Pullbench.h"
#include "vdevice/tools/pullbench/PullingStatsd.h"

namespace zstats::vdevice {
namespace {

constexpr int kWarmUpRounds = 3;

/** Who answers. */
struct Kind {
    const char* name;
    int32_t offset;
};
constexpr Kind kDaemon = {"daemon", 0};
constexpr Kind kBare = {"bare", kBareOffset};
constexpr std::array<Kind, 2> kKinds = {kDaemon, kBare};

/** The atoms of one experiment: caller number N pulls the one at N - 1. */
struct Load {
    const char* name;
    std::array<int32_t, 8> tags;
};
constexpr Load kLoads[] = {
        // Touch, CPU temperatures, the maker's thermal service, audio, usage data, wake-up sources,
        // charger, handle factory.
        {"apart", {150131, 150031, 150127, 150112, 150136, 150020, 150009, 150006}},
        {"charger", {150008, 150009, 150010, 150011, 150022, 150025, 150026, 150030}},
        {"handlefactory", {150006, 150013, 150024, 150028, 150113, 150123, 150141, 150167}},
};

long long median(std::vector<int64_t>& values) {
    const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

PullingStatsd::Pull pullOrDie(PullingStatsd& statsd, int32_t tag) {
    const auto pull = statsd.pull(tag);
    if (!pull.answered) {
        fprintf(stderr, "pullbench: no answer to a pull of %d\n", tag);
        exit(EXIT_FAILURE);
    }
    return pull;
}

/** The sizes of an answer's events, in bytes. Their values may change from pull to pull. */
std::vector<size_t> sizesOf(const PullingStatsd::Pull& pull) {
    std::vector<size_t> sizes;
    for (const std::string& event : pull.events) sizes.push_back(event.size());
    return sizes;
}

/** Waits for the program and pulls it warm; its answers by atom. */
std::map<int32_t, PullingStatsd::Pull> warmUp(PullingStatsd& statsd, const Kind& kind) {
    std::vector<int32_t> tags = cli::pulledAtomIds();
    for (int32_t& tag : tags) tag += kind.offset;
    statsd.waitFor(tags);
    std::map<int32_t, PullingStatsd::Pull> answers;
    for (int round = 0; round < kWarmUpRounds; ++round) {
        for (int32_t tag : tags) answers[tag - kind.offset] = pullOrDie(statsd, tag);
    }
    return answers;
}

/** Prints "event DIGITS" for each, and at the end "answered". */
void printEvents(const std::map<int32_t, PullingStatsd::Pull>& answers) {
    for (const auto& [tag, answer] : answers) {
        for (const std::string& event : answer.events) {
            printf("event %s\n", android::base::HexString(event.data(), event.size()).c_str());
        }
    }
    puts("answered");
}

/** Waits for the daemon, prints its answers, and waits for the bare puller that gives the same. */
std::shared_ptr<PullingStatsd> publishForBoth() {
    auto statsd = PullingStatsd::publish();
    const auto answers = warmUp(*statsd, kDaemon);
    printEvents(answers);
    for (const auto& [tag, answer] : warmUp(*statsd, kBare)) {
        if (sizesOf(answer) == sizesOf(answers.at(tag))) continue;
        fprintf(stderr, "pullbench: the answers to a pull of %d differ\n", tag);
        exit(EXIT_FAILURE);
    }
    return statsd;
}

std::shared_ptr<PullingStatsd> publishForDaemon() {
    auto statsd = PullingStatsd::publish();
    warmUp(*statsd, kDaemon);
    return statsd;
}

/**
 * Pulls every atom from both in turn, each of them first in every second round. Prints the median
 * times of the daemon's pulls and of the bare puller's, and of the difference within a round.
 */
void measureOnce(PullingStatsd& statsd, int rounds, int repeat) {
    struct Times {
        std::vector<int64_t> daemon, bare, own;
    };
    std::map<int32_t, Times> times;
    for (int round = 0; round < rounds; ++round) {
        for (int32_t tag : cli::pulledAtomIds()) {
            std::array<int64_t, kKinds.size()> nanos = {};
            for (size_t i = 0; i < kKinds.size(); ++i) {
                const size_t kind = (static_cast<size_t>(round) + i) % kKinds.size();
                nanos[kind] = pullOrDie(statsd, tag + kKinds[kind].offset).nanos;
            }
            Times& all = times[tag];
            all.daemon.push_back(nanos[0]);
            all.bare.push_back(nanos[1]);
            all.own.push_back(nanos[0] - nanos[1]);
        }
    }
    for (auto& [tag, all] : times) {
        printf("latency %d %d %lld %lld %lld\n", repeat, tag, median(all.daemon), median(all.bare),
               median(all.own));
    }
}

/** Lets a caller for each of the tags pull for a while, and once at least; gives pulls a second. */
std::vector<double> pullAtOnce(PullingStatsd& statsd, const std::vector<int32_t>& tags, int millis) {
    std::vector<double> rates(tags.size());
    const int64_t start = android::uptimeNanos();
    const int64_t end = start + int64_t{millis} * 1'000'000;
    std::vector<std::thread> callers;
    for (size_t i = 0; i < tags.size(); ++i) {
        callers.emplace_back([&, i] {
            int count = 0;
            do {
                pullOrDie(statsd, tags[i]);
                ++count;
            } while (android::uptimeNanos() < end);
            rates[i] = count * 1e9 / static_cast<double>(android::uptimeNanos() - start);
        });
    }
    for (std::thread& caller : callers) caller.join();
    return rates;
}

void measureLoad(PullingStatsd& statsd, const Load& load, const std::vector<size_t>& members,
                 int millis) {
    for (const Kind& kind : kKinds) {
        std::vector<int32_t> tags;
        for (size_t member : members) tags.push_back(load.tags.at(member) + kind.offset);
        const std::vector<double> rates = pullAtOnce(statsd, tags, millis);
        for (size_t i = 0; i < tags.size(); ++i) {
            printf("throughput %s %s %zu %d %f\n", load.name, kind.name, members.size(),
                   tags[i] - kind.offset, rates[i]);
        }
    }
}

/** Makes the pulls from number `from` to the one before `to`, of all atoms in turn, four at a time. */
void pullInTurn(int from, int to, const std::function<void(int32_t tag)>& pull) {
    constexpr int kThreads = 4;
    const std::vector<int32_t> tags = cli::pulledAtomIds();
    std::atomic<int> next = from;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            for (int number = next++; number < to; number = next++) {
                pull(tags[static_cast<size_t>(number) % tags.size()]);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

/** Pulls the atom until its answer has as many events as expected; ends the process after 20 s. */
void pullUntilRight(PullingStatsd& statsd, int32_t tag, size_t events) {
    const int64_t end = android::uptimeNanos() + 20'000'000'000;
    while (pullOrDie(statsd, tag).events.size() != events) {
        if (android::uptimeNanos() > end) {
            fprintf(stderr, "pullbench: %d is not answered as at first\n", tag);
            exit(EXIT_FAILURE);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
}

/** Prints "paused" and waits for a line; ends the process if none comes. */
void pauseUntilLine() {
    puts("paused");
    std::string line;
    if (std::getline(std::cin, line)) return;
    fputs("pullbench: standard input ended during a pause\n", stderr);
    exit(EXIT_FAILURE);
}

}  // namespace

int serveRegistrations() {
    [[maybe_unused]] const auto statsd = PullingStatsd::publish();
    for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}

int measureLatency(int rounds, int repeats) {
    const auto statsd = publishForBoth();
    puts("measuring");
    for (int repeat = 0; repeat < repeats; ++repeat) measureOnce(*statsd, rounds, repeat);
    return EXIT_SUCCESS;
}

int measureThroughput(int millis, int repeats) {
    const auto statsd = publishForBoth();
    for (int repeat = 0; repeat < repeats; ++repeat) {
        for (const Load& load : kLoads) {
            for (size_t i = 0; i < load.tags.size(); ++i) measureLoad(*statsd, load, {i}, millis);
            for (size_t callers = 2; callers <= load.tags.size(); ++callers) {
                std::vector<size_t> members(callers);
                std::iota(members.begin(), members.end(), 0);
                measureLoad(*statsd, load, members, millis);
            }
        }
    }
    return EXIT_SUCCESS;
}

int pullUnderLoad(std::string_view name, int millis) {
    for (const Load& load : kLoads) {
        if (load.name != name) continue;
        const auto statsd = publishForDaemon();
        puts("pulling");
        pullAtOnce(*statsd, {load.tags.begin(), load.tags.end()}, millis);
        return EXIT_SUCCESS;
    }
    fprintf(stderr, "pullbench: there is no such load\n");
    return EXIT_FAILURE;
}

int soak(int pulls, int pause) {
    const auto statsd = publishForDaemon();
    std::map<int32_t, size_t> expected;
    for (int32_t tag : cli::pulledAtomIds()) expected[tag] = pullOrDie(*statsd, tag).events.size();
    puts("pulling");
    std::atomic<int> wrong = 0;
    int64_t nanos = 0;
    for (int from = 0; from < pulls; from += pause) {
        const int64_t start = android::uptimeNanos();
        pullInTurn(from, std::min(from + pause, pulls), [&](int32_t tag) {
            if (pullOrDie(*statsd, tag).events.size() != expected.at(tag)) ++wrong;
        });
        nanos += android::uptimeNanos() - start;
        pauseUntilLine();
        pullInTurn(0, static_cast<int>(expected.size()),
                   [&](int32_t tag) { pullUntilRight(*statsd, tag, expected.at(tag)); });
    }
    size_t events = 0;
    for (const auto& [tag, count] : expected) events += count;
    printf("pulled %d %d %lld %zu\n", pulls, wrong.load(), static_cast<long long>(nanos), events);
    for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}

}  // namespace zstats::vdevice
