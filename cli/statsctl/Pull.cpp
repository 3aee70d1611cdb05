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
#include "host/stats/EventReader.h"

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

/** Waits until living processes have registered all these atoms, a few seconds at most. */
void waitForRegistrations(const std::vector<int32_t>& tags) {
    for (int step = 0; step < kMaxSteps; ++step) {
        const auto reply = askForRegistrations();
        if (!reply) return;
        const auto& list = reply->registrations();
        const auto registered = [&](int32_t tag) {
            return std::any_of(list.begin(), list.end(), [&](const auto& entry) {
                return entry.atom_tag() == tag && entry.alive();
            });
        };
        if (std::all_of(tags.begin(), tags.end(), registered)) return;
        std::this_thread::sleep_for(kStep);
    }
}

/** Pulls the atoms that count from the pull before, so that a later pull has a baseline. */
void setBaselines(const std::vector<int32_t>& tags) {
    for (int32_t tag : tags) {
        if (atomInfo(tag).delta) pullAtom(tag);
    }
}

Atoms pullSettled(const std::vector<int32_t>& tags) {
    waitForRegistrations(tags);
    Atoms atoms;
    const auto start = std::chrono::steady_clock::now();
    setBaselines(tags);
    for (int32_t tag : tags) {
        if (!atomInfo(tag).delta) atoms[tag] = pullAtom(tag);
    }
    if (atoms.size() == tags.size()) return atoms;
    std::this_thread::sleep_until(start + kCoolDown);
    for (int32_t tag : tags) {
        if (atoms.count(tag) == 0) atoms[tag] = pullFresh(tag);
    }
    return atoms;
}

void setParallelPulls(bool parallel) {
    control::Request request;
    request.set_parallel_pulls(parallel);
    askStatsd(request);
}

/** Pulls all at the same time; otherwise statsd pulls one atom after the other. */
Atoms pullParallel(const std::vector<int32_t>& tags) {
    Atoms atoms;
    for (int32_t tag : tags) atoms[tag].tag = tag;
    setParallelPulls(true);
    std::vector<std::thread> threads;
    for (int32_t tag : tags) {
        threads.emplace_back([&, tag] { atoms.at(tag) = pullFresh(tag); });
    }
    for (std::thread& thread : threads) thread.join();
    setParallelPulls(false);
    return atoms;
}

Atoms pullAll(const std::vector<int32_t>& tags, const Words& words) {
    if (words.settle) return pullSettled(tags);
    if (words.parallel) return pullParallel(tags);
    Atoms atoms;
    for (int32_t tag : tags) {
        atoms[tag] = words.fresh ? pullFresh(tag) : pullAtom(tag);
    }
    return atoms;
}

void print(const PulledAtom& atom, bool json) {
    if (!json) {
        fputs(atomText(atom, uptimeMs()).c_str(), stdout);
        return;
    }
    for (const std::string& line : jsonLines(atom)) puts(line.c_str());
}

/** Decodes an encoded event, as much of it as there is. */
PulledEvent decodeEvent(std::string_view bytes) {
    auto event = readEvent(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    if (!event) return {};
    return {event->valid(), std::move(event->fields)};
}

PulledAtom pulled(int32_t tag, const std::optional<control::Reply>& reply) {
    PulledAtom atom;
    atom.tag = tag;
    if (!reply) {
        atom.failure = kNoStatsd;
        return atom;
    }
    const control::Outcome& outcome = reply->outcome();
    if (!outcome.answered()) {
        atom.failure = outcome.failure();
        return atom;
    }
    for (const auto& event : outcome.events()) atom.events.push_back(decodeEvent(event.encoded()));
    for (const auto& event : outcome.rejected()) {
        atom.events.push_back(decodeEvent(event.encoded()));
    }
    return atom;
}

int complainOfStatsd() {
    fprintf(stderr, "statsctl: %s\n", kNoStatsd);
    return kExitFailed;
}

}  // namespace

void requireStatsd() {
    if (statsdListens()) return;
    fprintf(stderr, "statsctl: statsd is not running\n");
    exit(kExitFailed);
}

std::optional<control::Reply> askForRegistrations() {
    control::Request request;
    request.set_registrations(true);
    return askStatsd(request);
}

PulledAtom pullAtom(int32_t tag, bool* fromCache) {
    control::Request request;
    request.set_pull(tag);
    const auto reply = askStatsd(request);
    if (fromCache != nullptr) *fromCache = reply && reply->outcome().from_cache();
    return pulled(tag, reply);
}

PulledAtom pullAtomNow(int32_t tag) {
    control::Request request;
    request.set_pull_now(tag);
    return pulled(tag, askStatsd(request));
}

PulledAtom pullFresh(int32_t tag) {
    bool fromCache = false;
    PulledAtom atom = pullAtom(tag, &fromCache);
    for (int step = 0; fromCache && step < kMaxSteps; ++step) {
        std::this_thread::sleep_for(kStep);
        atom = pullAtom(tag, &fromCache);
    }
    return atom;
}

int pullCommand(const Words& words) {
    requireStatsd();
    const auto tags = eachOnce(words.ids.empty() ? pulledAtomIds() : words.ids);
    const auto atoms = pullAll(tags, words);
    if (!words.json) fputs(textHeading().c_str(), stdout);
    int status = kExitOk;
    for (int32_t tag : tags) {
        print(atoms.at(tag), words.json);
        if (!atoms.at(tag).answered()) status = kExitFailed;
    }
    return status;
}

int registrationsCommand() {
    requireStatsd();
    const auto reply = askForRegistrations();
    if (!reply) return complainOfStatsd();
    printf("%-4s %-8s %-31s %-6s %-10s %-9s %s\n", "#", "tag", "atom", "uid", "cool-down",
           "time-out", "additive fields");
    int number = 0;
    for (const control::Registration& entry : reply->registrations()) {
        std::string additive;
        for (int32_t field : entry.additive_fields()) additive += std::to_string(field) + " ";
        printf("%-4d %-8d %-31s %-6d %-10s %-9s %s%s\n", ++number, entry.atom_tag(),
               atomInfo(entry.atom_tag()).name.c_str(), entry.uid(),
               (std::to_string(entry.cool_down_millis()) + " ms").c_str(),
               (std::to_string(entry.timeout_millis()) + " ms").c_str(),
               additive.empty() ? "none" : additive.c_str(),
               entry.alive() ? "" : "  (its process has died)");
    }
    return kExitOk;
}

int pushedCommand(const Words& words) {
    requireStatsd();
    control::Request request;
    request.set_pushed(true);
    const auto reply = askStatsd(request);
    if (!reply) return complainOfStatsd();
    for (const control::Event& entry : reply->pushed()) {
        const std::string& encoded = entry.encoded();
        const auto event =
                readEvent(reinterpret_cast<const uint8_t*>(encoded.data()), encoded.size());
        PulledAtom atom{event ? event->atomId : 0, "", {decodeEvent(encoded)}};
        print(atom, words.json);
    }
    return kExitOk;
}

}  // namespace zstats::cli
