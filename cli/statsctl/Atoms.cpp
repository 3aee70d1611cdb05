#include <cstdio>

#include "cli/lib/atoms/AtomJson.h"
#include "cli/lib/device/AtomSources.h"
#include "cli/statsctl/AtomSchema.h"
#include "cli/statsctl/Statsctl.h"

namespace zstats::cli {
namespace {

const char* kindText(SourceKind kind) {
    static constexpr const char* kTexts[] = {"key",   "charger", "touch", "calda",   "thermal",
                                             "audio", "usage",   "file",  "property"};
    return kTexts[static_cast<size_t>(kind)];
}

const char* deviceText(SourceDevice device) {
    static constexpr const char* kTexts[] = {"", "qcom", "not qcom"};
    return kTexts[static_cast<size_t>(device)];
}

std::vector<ValueSource> allSourcesOf(int32_t id) {
    std::vector<ValueSource> sources;
    for (const ValueSource& source : atomSources()) {
        if (source.tag == id) sources.push_back(source);
    }
    return sources;
}

std::string eventsText(const AtomInfo& info) {
    if (info.neverFilled) return "never an event";
    if (info.pushed) return "pushed";
    std::string text = info.oneEventPer.empty() ? "at most one event a pull"
                                                : "an event for each " + info.oneEventPer;
    return info.delta ? text + ", counted from the pull before" : text;
}

void printText(const AtomInfo& info) {
    printf("%d  %s  (%s)\n", info.id, info.name.c_str(), eventsText(info).c_str());
    for (const FieldInfo& field : info.fields) {
        printf("    %-24s %-7s%s%s\n", field.name.c_str(), field.type.c_str(),
               field.unit.empty() ? "" : " ", field.unit.c_str());
    }
    for (const ValueSource& source : allSourcesOf(info.id)) {
        const char* device = deviceText(source.device);
        printf("    reads %s %s%s%s\n", kindText(source.kind), source.name.c_str(),
               *device == '\0' ? "" : ", on a device that is ", device);
    }
    if (!info.conversion.empty()) printf("    %s\n", info.conversion.c_str());
}

void printJson(const AtomInfo& info) {
    std::string fields;
    for (const FieldInfo& field : info.fields) {
        fields += (fields.empty() ? "" : ",") + ("{\"name\":" + jsonString(field.name)) +
                  ",\"type\":" + jsonString(field.type) + ",\"unit\":" + jsonString(field.unit) +
                  "}";
    }
    std::string reads;
    for (const ValueSource& source : allSourcesOf(info.id)) {
        reads += (reads.empty() ? "" : ",") + ("{\"kind\":" + jsonString(kindText(source.kind))) +
                 ",\"name\":" + jsonString(source.name) +
                 ",\"device\":" + jsonString(deviceText(source.device)) + "}";
    }
    printf("{\"atom\":%d,\"name\":%s,\"events\":%s,\"conversion\":%s,\"fields\":[%s],"
           "\"reads\":[%s]}\n",
           info.id, jsonString(info.name).c_str(), jsonString(eventsText(info)).c_str(),
           jsonString(info.conversion).c_str(), fields.c_str(), reads.c_str());
}

}  // namespace

int atomsCommand(Statsd&, const CommandArguments& arguments) {
    if (arguments.schema) {
        puts(recordingSchema().c_str());
        return kExitOk;
    }
    for (const int32_t id : allAtomIds()) {
        if (arguments.json) {
            printJson(atomInfo(id));
        } else {
            printText(atomInfo(id));
        }
    }
    return kExitOk;
}

}  // namespace zstats::cli
