#include "cli/statsctl/PlatformStatsd.h"

#include <android-base/file.h>
#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include "acquire/Cmd.h"
#include "cli/lib/device/DeviceSources.h"

namespace zstats::cli {
namespace {

using android::base::unique_fd;

constexpr char kStats[] = "stats";
// The daemon's user, as statsd's command names it.
constexpr char kDaemonUser[] = "AID_ROOT";
constexpr uid_t kRootUid = 0;
constexpr uid_t kShellUid = 2000;
// The cool-down that the daemon registers, and statsd's minimum.
constexpr std::chrono::milliseconds kCoolDown(1000);

/** Discards the command client's messages: the status of a command is enough. */
class Silence : public android::TextOutput {
  public:
    android::status_t print(const char*, size_t) override { return android::OK; }
    void moveIndent(int) override {}
    void pushBundle() override {}
    void popBundle() override {}
};

/** The output and status of a command. */
struct CommandResult {
    int32_t status = 0;
    std::string text;
};

/** Runs a shell command of statsd. */
CommandResult runCommand(const std::vector<std::string_view>& arguments) {
    CommandResult result;
    unique_fd out;
    unique_fd in;
    const unique_fd null(open("/dev/null", O_RDWR | O_CLOEXEC));
    if (!null.ok() || !android::base::Pipe(&out, &in)) {
        result.status = -errno;
        return result;
    }
    // Concurrent with the command, which blocks while the pipe is full.
    std::thread reader([&] { android::base::ReadFdToString(out, &result.text); });
    std::vector<std::string_view> words{kStats};
    words.insert(words.end(), arguments.begin(), arguments.end());
    Silence silence;
    result.status = cmdMain(words, silence, silence, null, in, null, zstats::RunMode::kLibrary);
    in.reset();
    reader.join();
    return result;
}

PullCounts countsOf(const std::map<int32_t, PullCounts>& all, int32_t tag) {
    const auto found = all.find(tag);
    return found == all.end() ? PullCounts() : found->second;
}

bool isRegistered(const PullCounts& counts) {
    return counts.registered > counts.unregistered;
}

}  // namespace

std::string PlatformStatsd::unavailable() {
    const uid_t uid = getuid();
    if (uid != kRootUid && uid != kShellUid) return "statsd serves root and the shell alone";
    return serviceIsThere(kStats) ? "" : "statsd is not running";
}

std::optional<PlatformStatsd::Counts> PlatformStatsd::askForCounts() {
    const CommandResult result = runCommand({"print-stats"});
    if (result.status != 0) return std::nullopt;
    return parsePullCounts(result.text);
}

void PlatformStatsd::keepCounts() {
    const ScopedLock lock(mLock);
    if (!mCounts) mCounts = askForCounts();
}

std::string PlatformStatsd::failureOf(int32_t tag, int32_t status) {
    const auto now = askForCounts();
    if (!now) return kNoStatsd;
    const ScopedLock lock(mLock);
    const PullCounts before = countsOf(mCounts.value_or(Counts()), tag);
    const PullCounts after = countsOf(*now, tag);
    mCounts = now;
    if (after.noPuller > before.noPuller) {
        mWithoutPuller.insert(tag);
        return "no puller registered";
    }
    if (after.timedOut > before.timedOut) return "no answer in time";
    if (after.callFailed > before.callFailed) return "the call failed";
    return "statsd answers with status " + std::to_string(status);
}

PulledAtom PlatformStatsd::pull(int32_t tag) {
    PulledAtom atom;
    atom.tag = tag;
    keepCounts();
    const CommandResult result = runCommand({"pull-source", std::to_string(tag), kDaemonUser});
    if (result.status != 0) {
        atom.failure = failureOf(tag, result.status);
        return atom;
    }
    {
        const ScopedLock lock(mLock);
        mWithoutPuller.erase(tag);
    }
    const auto events = parsePullText(tag, result.text);
    if (!events) atom.failure = "statsd's answer is not understood";
    for (const StreamedAtom& event : events.value_or(std::vector<StreamedAtom>())) {
        atom.events.push_back({true, event.fields});
    }
    return atom;
}

std::map<int32_t, PulledAtom> PlatformStatsd::pullFresh(const std::vector<int32_t>& tags) {
    // statsd does not report whether an answer was cached.
    std::this_thread::sleep_for(kCoolDown);
    std::map<int32_t, PulledAtom> atoms;
    for (const int32_t tag : tags) atoms[tag] = pull(tag);
    return atoms;
}

std::optional<std::set<int32_t>> PlatformStatsd::registered() {
    const auto counts = askForCounts();
    if (!counts) return std::nullopt;
    std::set<int32_t> tags;
    for (const auto& [tag, count] : *counts) {
        if (isRegistered(count)) tags.insert(tag);
    }
    return tags;
}

std::string PlatformStatsd::registrationText(int32_t tag) {
    const PullCounts counts = countsOf(askForCounts().value_or(Counts()), tag);
    const ScopedLock lock(mLock);
    if (!isRegistered(counts) || mWithoutPuller.count(tag) > 0) return "NO";
    return "yes, statsd counts " + std::to_string(counts.registered) + " registrations and " +
           std::to_string(counts.unregistered) + " removals";
}

std::vector<std::string> PlatformStatsd::registrationTable() {
    const auto all = askForCounts();
    if (!all) return {};
    std::vector<std::string> lines;
    const auto add = [&](const auto&... columns) {
        char line[160];
        snprintf(line, sizeof(line), "%-8s %-31s %-11s %-8s %-8s %-11s %s", columns...);
        lines.emplace_back(line);
    };
    add("tag", "atom", "registered", "removed", "pulls", "from cache", "timed out");
    for (const int32_t tag : pulledAtomIds()) {
        const PullCounts counts = countsOf(*all, tag);
        add(std::to_string(tag).c_str(), atomInfo(tag).name.c_str(),
            std::to_string(counts.registered).c_str(), std::to_string(counts.unregistered).c_str(),
            std::to_string(counts.pulls).c_str(), std::to_string(counts.fromCache).c_str(),
            std::to_string(counts.timedOut).c_str());
    }
    return lines;
}

}  // namespace zstats::cli
