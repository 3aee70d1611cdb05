#include <glob.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "cli/lib/atoms/AtomJson.h"
#include "cli/lib/atoms/AtomText.h"
#include "cli/lib/device/AtomSources.h"
#include "cli/lib/device/DeviceSources.h"
#include "cli/lib/device/SourceConnections.h"
#include "cli/statsctl/Statsctl.h"
#include "sources/ServiceWire.h"

namespace zstats::cli {
namespace {

constexpr size_t kShown = 200;    // bytes of a content
constexpr size_t kMaxFiles = 12;  // of those that match one pattern

/** A content in quotes, in one line, cut if it is long. */
std::string quoted(const std::string& content) {
    if (content.size() <= kShown) return jsonString(content);
    return jsonString(content.substr(0, kShown)) + " ... (" + std::to_string(content.size()) +
           " bytes)";
}

std::string show(const Reading& reading) {
    if (!reading.ok) return "NOT READABLE: " + reading.text;
    return reading.text.empty() ? "EMPTY" : quoted(reading.text);
}

Reading readCaldaWords(const std::string& code) {
    const auto reply = callCalda(static_cast<uint32_t>(atoi(code.c_str())));
    if (!reply) return {false, "the service is not there"};
    if (reply->transport != 0) {
        return {false, "the call failed with status " + std::to_string(reply->transport)};
    }
    Reading reading{true, ""};
    for (int32_t word : reply->words) {
        reading.text += (reading.text.empty() ? "" : " ") + std::to_string(word);
    }
    return reading;
}

Reading readTemperatures() {
    const auto values = readCpuTemperatures();
    if (!values) return {false, "the service is not there, or it refuses"};
    Reading reading{true, ""};
    for (float value : *values)
        reading.text += (reading.text.empty() ? "" : " ") + valueText(value);
    return reading;
}

Reading readAudio() {
    const auto reply = callAudio();
    if (!reply) return {false, "the service is not there"};
    if (reply->transport != 0) {
        return {false, "the call failed with status " + std::to_string(reply->transport)};
    }
    return {true, reply->text.value_or("")};
}

Reading readUsage() {
    const auto records = readUsageRecords();
    if (!records) return {false, "the fetch fails"};
    Reading reading{true, ""};
    for (const auto& record : *records) reading.text += record.value_or("(no text)") + "\n";
    return reading;
}

void printLine(const std::string& kind, const std::string& name, const std::string& value) {
    printf("  %-9s %s: %s\n", kind.c_str(), name.c_str(), value.c_str());
}

/** The files that match, with their contents. */
void printFiles(const std::string& pattern) {
    glob_t found = {};
    const int result = glob(pattern.c_str(), 0, nullptr, &found);
    if (result != 0) printLine("file", pattern, "NOT THERE");
    for (size_t i = 0; i < found.gl_pathc && i < kMaxFiles; ++i) {
        printLine("file", found.gl_pathv[i], show(readDeviceFile(found.gl_pathv[i])));
    }
    if (found.gl_pathc > kMaxFiles) {
        printf("            and %zu more such files\n", found.gl_pathc - kMaxFiles);
    }
    globfree(&found);
}

/** The service of a source; empty for other sources. */
std::string serviceOf(SourceKind kind) {
    switch (kind) {
        case SourceKind::kKey:
            return handleFactoryService();
        case SourceKind::kCharger:
            return chargerService();
        case SourceKind::kTouch:
            return kTouchService;
        case SourceKind::kCalda:
            return kCaldaService;
        case SourceKind::kThermal:
            return kThermalService;
        case SourceKind::kAudio:
            return kAudioService;
        default:
            return "";
    }
}

void printSource(const ValueSource& source) {
    switch (source.kind) {
        case SourceKind::kKey:
            return printLine("key", source.name, show(readHandleKey(source.name)));
        case SourceKind::kCharger:
            return printLine("charger", source.name, show(readChargerMethod(source.name)));
        case SourceKind::kTouch:
            return printLine("touch", source.name, show(readTouch()));
        case SourceKind::kCalda:
            return printLine("calda", "code " + source.name, show(readCaldaWords(source.name)));
        case SourceKind::kThermal:
            return printLine("thermal", source.name, show(readTemperatures()));
        case SourceKind::kAudio:
            return printLine("audio", source.name, show(readAudio()));
        case SourceKind::kUsage:
            return printLine("usage", source.name, show(readUsage()));
        case SourceKind::kFile:
            return printFiles(source.name);
        case SourceKind::kProperty:
            return printLine("property", source.name, show(readDeviceProperty(source.name)));
    }
}

void printSources(int32_t tag) {
    const auto sources = sourcesOf(tag, readDeviceProperty("ro.hardware").text);
    printf("reads%s\n", sources.empty() ? ": nothing" : "");
    std::string before;
    for (const ValueSource& source : sources) {
        const std::string service = serviceOf(source.kind);
        if (!service.empty() && service != before) {
            printLine("service", service, serviceIsThere(service) ? "there" : "NOT THERE");
        }
        before = service;
        printSource(source);
    }
}

/** The daemon's lines in the device's log. */
std::vector<std::string> daemonLog() {
    std::vector<std::string> lines;
    const std::unique_ptr<FILE, int (*)(FILE*)> log(popen("logcat -d", "r"), pclose);
    char line[2048];
    while (log != nullptr && fgets(line, sizeof(line), log.get()) != nullptr) {
        if (std::string(line).find("zstats_pullerd") != std::string::npos) lines.emplace_back(line);
    }
    return lines;
}

/** The lines after those of an earlier call; all lines if the log has dropped them. */
std::vector<std::string> since(const std::vector<std::string>& before,
                               const std::vector<std::string>& now) {
    if (before.empty()) return now;
    const auto last = std::find(now.rbegin(), now.rend(), before.back());
    return {last.base() == now.begin() ? now.begin() : last.base(), now.end()};
}

}  // namespace

int explainCommand(Statsd& statsd, const CommandArguments& arguments) {
    const int32_t tag = arguments.ids.front();
    if (!canAsk(statsd)) return kExitFailed;
    printf("%d %s\n", tag, atomInfo(tag).name.c_str());
    if (atomInfo(tag).neverFilled) printf("never has an event: its handler writes none\n");
    const std::vector<std::string> before = daemonLog();
    const PulledAtom atom = statsd.pullFresh({tag}).at(tag);
    const std::vector<std::string> log = since(before, daemonLog());
    printf("registered: %s\n", statsd.registrationText(tag).c_str());
    printSources(tag);
    printf("a pull brings\n%s", atomText(atom, uptimeMs()).c_str());
    printf("the daemon logged%s\n", log.empty() ? " nothing" : "");
    for (const std::string& line : log) printf("  %s", line.c_str());
    return atom.answered() ? kExitOk : kExitFailed;
}

}  // namespace zstats::cli
