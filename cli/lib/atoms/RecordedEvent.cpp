#include "cli/lib/atoms/RecordedEvent.h"

#include <cstdio>
#include <ctime>
#include <vector>

#include "cli/lib/atoms/AtomJson.h"

namespace zstats::cli {
namespace {

constexpr int64_t kNsPerSecond = 1'000'000'000;

std::string quotedMember(const char* name, const std::string& text) {
    return text.empty() ? "" : ",\"" + std::string(name) + "\":" + jsonString(text);
}

std::string times(int64_t elapsedNs, int64_t wallNs) {
    std::string text = ",\"elapsed_ns\":" + std::to_string(elapsedNs);
    if (wallNs != 0) text += quotedMember("time", timeText(wallNs));
    return text;
}

}  // namespace

std::string timeText(int64_t wallNs) {
    const time_t seconds = wallNs / kNsPerSecond;
    tm parts = {};
    gmtime_r(&seconds, &parts);
    char day[32];
    strftime(day, sizeof(day), "%Y-%m-%dT%H:%M:%S", &parts);
    char text[64];
    snprintf(text, sizeof(text), "%s.%09dZ", day, static_cast<int>(wallNs % kNsPerSecond));
    return text;
}

std::string jsonHeader(const RecordingHeader& header) {
    return "{\"recording\":" + jsonString(header.source) + quotedMember("device", header.device) +
           quotedMember("fingerprint", header.fingerprint) + quotedMember("daemon", header.daemon) +
           quotedMember("boot_id", header.bootId) + times(header.elapsedNs, header.wallNs) + "}";
}

std::string jsonRecorded(const RecordedEvent& event, const std::string& bootId, bool withUnits) {
    const AtomInfo& info = atomInfo(event.id);
    std::vector<AtomValue> values;
    std::string names;
    std::string types;
    std::string units;
    for (const auto& [number, value] : event.fields) {
        const std::string comma = values.empty() ? "" : ",";
        const auto index = static_cast<size_t>(number - 1);
        values.push_back(value);
        names += comma + jsonString(info.fieldName(index));
        types += comma + jsonString(typeName(value));
        units += comma + jsonString(info.unitOf(index));
    }
    std::string line = "{\"atom\":" + std::to_string(event.id) +
                       ",\"name\":" + jsonString(info.name) + times(event.elapsedNs, event.wallNs) +
                       quotedMember("boot_id", bootId) + ",\"fields\":" + jsonFields(values) +
                       ",\"names\":[" + names + "],\"types\":[" + types + "]";
    if (withUnits) line += ",\"units\":[" + units + "]";
    return line + "}";
}

}  // namespace zstats::cli
