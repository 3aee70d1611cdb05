#include <android/binder_manager.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <thread>

#include "vdevice/lib/atoms/AtomJson.h"
#include "vdevice/lib/atoms/AtomText.h"
#include "vdevice/lib/sources/DeviceSources.h"
#include "vdevice/tools/statsctl/Statsctl.h"

namespace zstats::vdevice {
namespace {

using aidl::zstats::vdevice::EncodedEvent;
using aidl::zstats::vdevice::IStatsdControl;
using aidl::zstats::vdevice::PullOutcome;
using aidl::zstats::vdevice::PullRegistration;
using Atoms = std::map<int32_t, PulledAtom>;

constexpr char kControlService[] = "stats_control";
// The cool-down that the daemon registers, and statsd's minimum.
constexpr std::chrono::milliseconds kCoolDown(1000);
constexpr std::chrono::milliseconds kStep(50);
constexpr int kMaxSteps = 60;

PulledEvent decoded(const EncodedEvent& event) {
    return decodeEvent({reinterpret_cast<const char*>(event.bytes.data()), event.bytes.size()});
}

std::vector<int32_t> eachOnce(const std::vector<int32_t>& tags) {
    std::vector<int32_t> once;
    for (int32_t tag : tags) {
        if (std::find(once.begin(), once.end(), tag) == once.end()) once.push_back(tag);
    }
    return once;
}

/** Waits until living processes have registered all these atoms, a few seconds at most. */
void waitForRegistrations(const Control& control, const std::vector<int32_t>& tags) {
    for (int step = 0; step < kMaxSteps; ++step) {
        std::vector<PullRegistration> list;
        if (!control->registrations(&list).isOk()) return;
        const auto registered = [&](int32_t tag) {
            return std::any_of(list.begin(), list.end(), [&](const auto& entry) {
                return entry.atomTag == tag && entry.alive;
            });
        };
        if (std::all_of(tags.begin(), tags.end(), registered)) return;
        std::this_thread::sleep_for(kStep);
    }
}

/** Pulls the atoms that count from the pull before, so that a later pull has a baseline. */
void setBaselines(const Control& control, const std::vector<int32_t>& tags) {
    for (int32_t tag : tags) {
        if (atomInfo(tag).delta) pullAtom(control, tag);
    }
}

Atoms pullSettled(const Control& control, const std::vector<int32_t>& tags) {
    waitForRegistrations(control, tags);
    Atoms atoms;
    const auto start = std::chrono::steady_clock::now();
    setBaselines(control, tags);
    for (int32_t tag : tags) {
        if (!atomInfo(tag).delta) atoms[tag] = pullAtom(control, tag);
    }
    if (atoms.size() == tags.size()) return atoms;
    std::this_thread::sleep_until(start + kCoolDown);
    for (int32_t tag : tags) {
        if (atoms.count(tag) == 0) atoms[tag] = pullFresh(control, tag);
    }
    return atoms;
}

/** Pulls all at the same time; otherwise statsd pulls one atom after the other. */
Atoms pullParallel(const Control& control, const std::vector<int32_t>& tags) {
    Atoms atoms;
    for (int32_t tag : tags) atoms[tag].tag = tag;
    control->setParallelPulls(true);
    std::vector<std::thread> threads;
    for (int32_t tag : tags) {
        threads.emplace_back([&, tag] { atoms.at(tag) = pullFresh(control, tag); });
    }
    for (std::thread& thread : threads) thread.join();
    control->setParallelPulls(false);
    return atoms;
}

Atoms pullAll(const Control& control, const std::vector<int32_t>& tags, const Words& words) {
    if (words.settle) return pullSettled(control, tags);
    if (words.parallel) return pullParallel(control, tags);
    Atoms atoms;
    for (int32_t tag : tags) {
        atoms[tag] = words.fresh ? pullFresh(control, tag) : pullAtom(control, tag);
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

PulledAtom pulled(int32_t tag, const ndk::ScopedAStatus& status, const PullOutcome& outcome) {
    PulledAtom atom;
    atom.tag = tag;
    if (!status.isOk()) {
        atom.failure = "statsd cannot be asked: status " + std::to_string(status.getStatus());
        return atom;
    }
    if (!outcome.answered) {
        atom.failure = outcome.failure;
        return atom;
    }
    for (const EncodedEvent& event : outcome.events) atom.events.push_back(decoded(event));
    return atom;
}

}  // namespace

Control findControl() {
    // Checked first: the look-up below logs an error for an absent service.
    if (!serviceIsThere(kControlService)) return nullptr;
    return IStatsdControl::fromBinder(
            ndk::SpAIBinder(AServiceManager_checkService(kControlService)));
}

Control controlOrDie() {
    const Control control = findControl();
    if (control != nullptr) return control;
    fprintf(stderr, "statsctl: statsd is not running\n");
    exit(kExitFailed);
}

PulledAtom pullAtom(const Control& control, int32_t tag, bool* fromCache) {
    PullOutcome outcome;
    const ndk::ScopedAStatus status = control->pull(tag, &outcome);
    if (fromCache != nullptr) *fromCache = status.isOk() && outcome.fromCache;
    return pulled(tag, status, outcome);
}

PulledAtom pullAtomNow(const Control& control, int32_t tag) {
    PullOutcome outcome;
    const ndk::ScopedAStatus status = control->pullNow(tag, &outcome);
    return pulled(tag, status, outcome);
}

PulledAtom pullFresh(const Control& control, int32_t tag) {
    bool fromCache = false;
    PulledAtom atom = pullAtom(control, tag, &fromCache);
    for (int step = 0; fromCache && step < kMaxSteps; ++step) {
        std::this_thread::sleep_for(kStep);
        atom = pullAtom(control, tag, &fromCache);
    }
    return atom;
}

int pullCommand(const Words& words) {
    const Control control = controlOrDie();
    const auto tags = eachOnce(words.ids.empty() ? pulledAtomIds() : words.ids);
    const auto atoms = pullAll(control, tags, words);
    if (!words.json) fputs(textHeading().c_str(), stdout);
    int status = kExitOk;
    for (int32_t tag : tags) {
        print(atoms.at(tag), words.json);
        if (!atoms.at(tag).answered()) status = kExitFailed;
    }
    return status;
}

int registrationsCommand() {
    std::vector<PullRegistration> list;
    const ndk::ScopedAStatus status = controlOrDie()->registrations(&list);
    if (!status.isOk()) {
        fprintf(stderr, "statsctl: statsd does not answer: status %d\n", status.getStatus());
        return kExitFailed;
    }
    printf("%-4s %-8s %-31s %-6s %-10s %-9s %s\n", "#", "tag", "atom", "uid", "cool-down",
           "time-out", "additive fields");
    int number = 0;
    for (const PullRegistration& entry : list) {
        std::string additive;
        for (int32_t field : entry.additiveFields) additive += std::to_string(field) + " ";
        printf("%-4d %-8d %-31s %-6d %-10s %-9s %s%s\n", ++number, entry.atomTag,
               atomInfo(entry.atomTag).name.c_str(), entry.uid,
               (std::to_string(entry.coolDownMillis) + " ms").c_str(),
               (std::to_string(entry.timeoutMillis) + " ms").c_str(),
               additive.empty() ? "none" : additive.c_str(),
               entry.alive ? "" : "  (its process has died)");
    }
    return kExitOk;
}

int pushedCommand(const Words& words) {
    std::vector<EncodedEvent> events;
    const ndk::ScopedAStatus status = controlOrDie()->pushed(&events);
    if (!status.isOk()) {
        fprintf(stderr, "statsctl: statsd does not answer: status %d\n", status.getStatus());
        return kExitFailed;
    }
    for (const EncodedEvent& entry : events) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(entry.bytes.data());
        const auto event = readEvent(bytes, entry.bytes.size());
        const int32_t id = event ? event->atomId : 0;
        PulledAtom atom{id, "", {decoded(entry)}};
        print(atom, words.json);
    }
    return kExitOk;
}

}  // namespace zstats::vdevice
