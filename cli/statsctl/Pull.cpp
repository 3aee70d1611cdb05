#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <thread>

#include "cli/lib/atoms/AtomJson.h"
#include "cli/lib/atoms/AtomText.h"
#include "cli/lib/device/DeviceSources.h"
#include "cli/statsctl/Statsctl.h"

namespace zstats::cli {
namespace {

using Atoms = std::map<int32_t, PulledAtom>;

// The cool-down that the daemon registers, and statsd's minimum.
constexpr std::chrono::milliseconds kCoolDown(1000);
constexpr std::chrono::milliseconds kStep(50);
constexpr int kMaxSteps = 60;

std::vector<int32_t> eachOnce(const std::vector<int32_t>& tags) {
    std::vector<int32_t> once;
    for (int32_t tag : tags) {
        if (std::find(once.begin(), once.end(), tag) == once.end()) once.push_back(tag);
    }
    return once;
}

/** Waits until all these atoms have a puller, a few seconds at most. */
void waitForRegistrations(Statsd& statsd, const std::vector<int32_t>& tags) {
    for (int step = 0; step < kMaxSteps; ++step) {
        const auto there = statsd.registered();
        if (!there) return;
        const auto registered = [&](int32_t tag) { return there->count(tag) != 0; };
        if (std::all_of(tags.begin(), tags.end(), registered)) return;
        std::this_thread::sleep_for(kStep);
    }
}

/** Pulls twice what counts from the pull before, so that the second pull has a baseline. */
Atoms pullSettled(Statsd& statsd, const std::vector<int32_t>& tags) {
    waitForRegistrations(statsd, tags);
    Atoms atoms;
    std::vector<int32_t> counting;
    for (int32_t tag : tags) {
        if (!atomInfo(tag).delta) continue;
        counting.push_back(tag);
        statsd.pull(tag);
    }
    const auto start = std::chrono::steady_clock::now();
    for (int32_t tag : tags) {
        if (!atomInfo(tag).delta) atoms[tag] = statsd.pull(tag);
    }
    if (counting.empty()) return atoms;
    std::this_thread::sleep_until(start + kCoolDown);
    atoms.merge(statsd.pullFresh(counting));
    return atoms;
}

/** Pulls all at the same time; otherwise statsd pulls one atom after the other. */
Atoms pullParallel(Statsd& statsd, const std::vector<int32_t>& tags) {
    Atoms atoms;
    for (int32_t tag : tags) atoms[tag].tag = tag;
    statsd.setParallel(true);
    std::vector<std::thread> threads;
    for (int32_t tag : tags) {
        threads.emplace_back([&, tag] { atoms.at(tag) = statsd.pullFresh({tag}).at(tag); });
    }
    for (std::thread& thread : threads) thread.join();
    statsd.setParallel(false);
    return atoms;
}

Atoms pullAll(Statsd& statsd, const std::vector<int32_t>& tags, const CommandArguments& arguments) {
    if (arguments.settle) return pullSettled(statsd, tags);
    if (arguments.parallel) return pullParallel(statsd, tags);
    if (arguments.fresh) return statsd.pullFresh(tags);
    Atoms atoms;
    for (int32_t tag : tags) atoms[tag] = statsd.pull(tag);
    return atoms;
}

}  // namespace

bool canAsk(Statsd& statsd) {
    const std::string reason = statsd.unavailable();
    if (!reason.empty()) fprintf(stderr, "statsctl: %s\n", reason.c_str());
    return reason.empty();
}

void printPulled(const PulledAtom& atom, bool json) {
    if (!json) {
        fputs(atomText(atom, uptimeMs()).c_str(), stdout);
        return;
    }
    for (const std::string& line : jsonLines(atom)) puts(line.c_str());
}

int pullCommand(Statsd& statsd, const CommandArguments& arguments) {
    if (!canAsk(statsd)) return kExitFailed;
    const auto tags = eachOnce(arguments.ids.empty() ? pulledAtomIds() : arguments.ids);
    const auto atoms = pullAll(statsd, tags, arguments);
    if (!arguments.json) fputs(textHeading().c_str(), stdout);
    int status = kExitOk;
    for (int32_t tag : tags) {
        printPulled(atoms.at(tag), arguments.json);
        if (!atoms.at(tag).answered()) status = kExitFailed;
    }
    return status;
}

int registrationsCommand(Statsd& statsd, const CommandArguments&) {
    if (!canAsk(statsd)) return kExitFailed;
    const auto lines = statsd.registrationTable();
    for (const std::string& line : lines) puts(line.c_str());
    if (!lines.empty()) return kExitOk;
    fprintf(stderr, "statsctl: %s\n", kNoStatsd);
    return kExitFailed;
}

}  // namespace zstats::cli
