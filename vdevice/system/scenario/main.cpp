#include <android-base/file.h>
#include <android/log.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <limits>

#include "cli/lib/CommandLine.h"
#include "vdevice/lib/profile/ProfileFiles.h"
#include "vdevice/lib/profile/Scenario.h"

using namespace zstats::cli;
using namespace zstats::vdevice;

namespace {

constexpr char kUsage[] =
        "usage: scenario FILE\n"
        "       scenario --now FILE\n"
        "       scenario --values SECOND FILE\n"
        "Plays a scenario from the device's boot, until nothing changes any more: each second it "
        "writes\n"
        "into /profile, which the services read at each call, what the scenario says for that "
        "second.\n"
        "  --now             makes the next second the scenario's second 0, prints when that is, "
        "writes\n"
        "                    its values, and plays on in the background\n"
        "  --values SECOND   prints what holds at that second, a line a value\n";

using Values = std::map<Scenario::Target, std::string>;

/** Ends the process with a message if the file has no valid scenario. */
Scenario loadOrDie(const char* path) {
    const auto text = readProfileFile(path);
    if (!text) {
        fprintf(stderr, "scenario: %s: %s\n", path, strerror(errno));
        exit(1);
    }
    auto parsed = Scenario::parse(*text);
    if (const auto* reason = std::get_if<std::string>(&parsed)) {
        fprintf(stderr, "scenario: %s: %s\n", path, reason->c_str());
        exit(1);
    }
    return std::get<Scenario>(std::move(parsed));
}

/** Replaces the file atomically, because services may read it at any time. */
bool replaceFile(const std::string& path, const std::string& content) {
    const std::string fresh = path + ".new";
    if (android::base::WriteStringToFile(content, fresh) &&
        rename(fresh.c_str(), path.c_str()) == 0) {
        return true;
    }
    fprintf(stderr, "scenario: %s: %s\n", path.c_str(), strerror(errno));
    return false;
}

/** The file's `key=value` lines, updated with the given ones. */
std::string mergedLines(const std::string& path, const std::map<std::string, std::string>& set) {
    auto lines = keyValueLines(readProfileFile(path).value_or(""));
    for (const auto& [key, value] : set) lines[key] = value;
    std::string text;
    for (const auto& [key, value] : lines) text += key + "=" + value + "\n";
    return text;
}

/** Removes KEY.1, KEY.2, …, which would override the value that the scenario sets. */
void dropSequence(const std::string& path) {
    for (int step = 1; unlink((path + "." + std::to_string(step)).c_str()) == 0; ++step) {
    }
}

bool writeChanged(const Values& before, const Values& now) {
    std::map<std::string, std::map<std::string, std::string>> lines;
    bool ok = true;
    for (const auto& [target, text] : now) {
        const auto old = before.find(target);
        if (old != before.end() && old->second == text) continue;
        const std::string path = profilePath(target.file);
        if (!target.key.empty()) {
            lines[path][target.key] = text;
            continue;
        }
        // Only at the first write: later ones cannot find a sequence.
        if (old == before.end()) dropSequence(path);
        ok = replaceFile(path, text + "\n") && ok;
    }
    for (const auto& [path, set] : lines) ok = replaceFile(path, mergedLines(path, set)) && ok;
    return ok;
}

void sleepUntil(int64_t second) {
    const timespec time = {static_cast<time_t>(second), 0};
    // Absolute, so that the time of the writes does not accumulate.
    while (clock_nanosleep(CLOCK_BOOTTIME, TIMER_ABSTIME, &time, nullptr) == EINTR) {
    }
}

double uptime() {
    timespec now = {};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return now.tv_sec + now.tv_nsec / 1e9;
}

/** Writes the values that change at the second, and logs the time. */
bool writeSecond(const Scenario& scenario, int64_t second, Values* before) {
    const double begun = uptime();
    Values now = scenario.at(second);
    if (!writeChanged(*before, now)) return false;
    __android_log_print(ANDROID_LOG_INFO, "scenario", "second %lld, written from %.3f s to %.3f s",
                        static_cast<long long>(second), begun, uptime());
    *before = std::move(now);
    return true;
}

/** Plays from the scenario's `second`. Its second 0 is `begin`, in seconds since boot. */
int play(const Scenario& scenario, int64_t begin, int64_t second, Values before = {}) {
    for (;; ++second) {
        sleepUntil(begin + second);
        if (!writeSecond(scenario, second, &before)) return 1;
        if (second >= scenario.end()) return 0;
    }
}

int playFromNow(const Scenario& scenario) {
    // The next whole second, so that the values of second 0 are in place when it begins.
    const int64_t begin = static_cast<int64_t>(uptime()) + 1;
    Values first;
    if (!writeSecond(scenario, 0, &first)) return 1;
    printf("scenario: second 0 is at %lld s since boot\n", static_cast<long long>(begin));
    fflush(stdout);
    if (daemon(0, 0) != 0) {
        fprintf(stderr, "scenario: daemon: %s\n", strerror(errno));
        return 1;
    }
    return play(scenario, begin, 1, std::move(first));
}

int print(const Scenario& scenario, int64_t second) {
    for (const auto& [target, text] : scenario.at(second)) {
        printf("%s %s%s%s\n", target.file.c_str(), target.key.c_str(),
               target.key.empty() ? "" : " ", text.c_str());
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::optional<int64_t> second;
    bool fromNow = false;
    std::vector<std::string> words;
    CommandLine line("scenario", kUsage);
    line.flag("now", &fromNow);
    line.number("values", &second, std::numeric_limits<int64_t>::min(),
                std::numeric_limits<int64_t>::max());
    if (const auto ended = line.read(argc, argv, &words)) return *ended;
    if (words.size() != 1) return line.complain("wants FILE");
    if (fromNow && second) return line.complain("takes --now or --values, not both");
    const Scenario scenario = loadOrDie(words[0].c_str());
    if (second) return print(scenario, *second);
    umask(022);  // the services run as other users
    return fromNow ? playFromNow(scenario) : play(scenario, 0, static_cast<int64_t>(uptime()));
}
