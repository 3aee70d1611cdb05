#include <binder/ProcessState.h>
#include <stats_pull_atom_callback.h>

#include <cstdio>
#include <cstdlib>
#include <map>

#include "cli/lib/atoms/AtomCatalogue.h"
#include "host/stats/EventReader.h"
#include "vdevice/lib/ServiceMain.h"
#include "vdevice/tools/pullbench/Pullbench.h"

namespace zstats::vdevice {
namespace {

// As the daemon registers its atoms, and serves them.
constexpr int64_t kCoolDownMillis = 1000;
constexpr int64_t kTimeoutMillis = 2000;
constexpr size_t kMaxBinderThreads = 4;

using Answers = std::map<int32_t, BareAnswer>;

AStatsManager_PullAtomCallbackReturn answerEmpty(int32_t, AStatsEventList*, void*) {
    return AStatsManager_PULL_SUCCESS;
}

void registerAtom(int32_t tag, AStatsManager_PullAtomCallback callback, void* cookie) {
    AStatsManager_PullAtomMetadata* terms = AStatsManager_PullAtomMetadata_obtain();
    AStatsManager_PullAtomMetadata_setCoolDownMillis(terms, kCoolDownMillis);
    AStatsManager_PullAtomMetadata_setTimeoutMillis(terms, kTimeoutMillis);
    AStatsManager_setPullAtomCallback(tag + kBareOffset, terms, callback, cookie);
    AStatsManager_PullAtomMetadata_release(terms);
}

std::vector<uint8_t> bytesOf(const std::string& digits) {
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes.push_back(static_cast<uint8_t>(strtoul(digits.substr(i, 2).c_str(), nullptr, 16)));
    }
    return bytes;
}

/** The answers of all atoms; ends the process at an event that is not one of theirs. */
Answers makeAnswers(const std::vector<std::string>& events) {
    Answers answers;
    for (int32_t tag : cli::pulledAtomIds()) answers.emplace(tag, tag);
    for (const std::string& digits : events) {
        const std::vector<uint8_t> bytes = bytesOf(digits);
        auto event = readEvent(bytes.data(), bytes.size());
        const auto answer = event ? answers.find(event->atomId) : answers.end();
        if (answer == answers.end()) {
            fprintf(stderr, "pullbench: '%s' is no event of a pulled atom\n", digits.c_str());
            exit(EXIT_FAILURE);
        }
        answer->second.addEvent(std::move(event->fields));
    }
    return answers;
}

}  // namespace

int servePuller(const std::vector<std::string>& events) {
    static Answers answers;
    if (events.empty()) {
        for (int32_t tag : cli::pulledAtomIds()) registerAtom(tag, answerEmpty, nullptr);
    } else {
        answers = makeAnswers(events);
        for (auto& [tag, answer] : answers) registerAtom(tag, onBarePull, &answer);
    }
    android::ProcessState::self()->setThreadPoolMaxThreadCount(kMaxBinderThreads);
    return serveBinderCalls();
}

}  // namespace zstats::vdevice
