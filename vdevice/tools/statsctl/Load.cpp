#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <map>
#include <thread>
#include <utility>

#include "cli/lib/atoms/AtomJson.h"
#include "daemon/base/Mutex.h"
#include "vdevice/lib/StatsdControl.h"
#include "vdevice/tools/statsctl/Commands.h"
#include "vdevice/tools/statsctl/ControlledStatsd.h"

namespace zstats::vdevice {
namespace {

using namespace cli;

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr int kThreads = 8;
constexpr milliseconds kWait(10);

std::atomic<bool> gEnd{false};

/** An answer of an atom, its count and its longest time. */
struct Seen {
    int count = 0;
    milliseconds slowest{0};
};

/** All different answers. Any thread. */
class Answers {
  public:
    void add(int32_t tag, const std::string& answer, milliseconds took) {
        const ScopedLock lock(mLock);
        Seen& seen = mSeen[{tag, answer}];
        ++seen.count;
        seen.slowest = std::max(seen.slowest, took);
    }

    void print() const {
        const ScopedLock lock(mLock);
        for (const auto& [what, seen] : mSeen) {
            printf("%d %d %lld %s\n", what.first, seen.count,
                   static_cast<long long>(seen.slowest.count()), what.second.c_str());
        }
    }

  private:
    mutable Mutex mLock;
    std::map<std::pair<int32_t, std::string>, Seen> mSeen GUARDED_BY(mLock);
};

/** The fields of all events, "none" without one, or the reason for no answer. */
std::string answerText(const PulledAtom& atom) {
    if (!atom.answered()) return "failed: " + atom.failure;
    std::string text;
    for (const PulledEvent& event : atom.events) {
        text += event.valid ? jsonFields(event.fields) : "unbuilt";
    }
    return text.empty() ? "none" : text;
}

/**
 * Returns the next atom, in turn, until the number of pulls is reached. A requested end comes after
 * each atom has been pulled once.
 */
void pullInTurn(const std::vector<int32_t>& tags, size_t pulls, milliseconds pause,
                std::atomic<size_t>* next, Answers* answers) {
    for (size_t turn = (*next)++; turn < pulls; turn = (*next)++) {
        if (gEnd && turn >= tags.size()) return;
        const int32_t tag = tags[turn % tags.size()];
        const auto start = steady_clock::now();
        const PulledAtom atom = ControlledStatsd().pullNow(tag);
        answers->add(tag, answerText(atom),
                     std::chrono::duration_cast<milliseconds>(steady_clock::now() - start));
        if (pause.count() > 0 && !gEnd) std::this_thread::sleep_for(pause);
        // Wait for statsd's return.
        const bool statsdIsGone = atom.failure == kNoStatsd;
        while (statsdIsGone && !gEnd && !statsdListens()) std::this_thread::sleep_for(kWait);
    }
}

}  // namespace

int loadCommand(Statsd& statsd, const CommandArguments& arguments) {
    if (!canAsk(statsd)) return kExitFailed;
    if (arguments.wait) {
        fputs("statsctl: waiting for a line of input\n", stderr);
        getchar();
    }
    const auto tags = arguments.ids.empty() ? pulledAtomIds() : arguments.ids;
    const size_t pulls =
            arguments.count ? tags.size() * static_cast<size_t>(*arguments.count) : SIZE_MAX;
    signal(SIGTERM, [](int) { gEnd = true; });
    signal(SIGALRM, [](int) { gEnd = true; });
    if (arguments.seconds) alarm(static_cast<unsigned>(*arguments.seconds));
    const milliseconds pause(arguments.pauseMs.value_or(0));
    Answers answers;
    std::atomic<size_t> next{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < arguments.threads.value_or(kThreads); ++i) {
        threads.emplace_back([&] { pullInTurn(tags, pulls, pause, &next, &answers); });
    }
    for (std::thread& thread : threads) thread.join();
    answers.print();
    return kExitOk;
}

}  // namespace zstats::vdevice
