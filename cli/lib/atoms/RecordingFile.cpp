#include "cli/lib/atoms/RecordingFile.h"

#include <google/protobuf/util/json_util.h>

#include <stdexcept>

#include "proto/zstats_recording.pb.h"

namespace zstats::cli {
namespace {

/** The value in the type that the line names. A float that JSON cannot represent is null. */
AtomValue valueOf(const google::protobuf::Value& value, const std::string& type) {
    if (type == "int32") return static_cast<int32_t>(value.number_value());
    if (type == "int64") return static_cast<int64_t>(value.number_value());
    if (type == "float") return static_cast<float>(value.number_value());
    if (type == "bool") return value.bool_value();
    if (type == "string") return value.string_value();
    throw std::runtime_error("unknown type '" + type + "'");
}

RecordingLine eventOf(const atoms::RecordingLine& line) {
    const int count = line.fields().values_size();
    if (line.names_size() != count || line.types_size() != count) {
        throw std::runtime_error("not an event of a recording");
    }
    RecordingLine event;
    event.atom = line.atom();
    event.name = line.name();
    for (int i = 0; i < count; ++i) {
        event.fields.push_back({line.names(i), valueOf(line.fields().values(i), line.types(i))});
    }
    return event;
}

atoms::RecordingLine parse(const std::string& text) {
    google::protobuf::util::JsonParseOptions options;
    options.ignore_unknown_fields = true;
    atoms::RecordingLine line;
    if (!google::protobuf::util::JsonStringToMessage(text, &line, options).ok()) {
        throw std::runtime_error("not a line of JSON");
    }
    if (!line.has_atom() && !line.has_recording()) {
        throw std::runtime_error("not a line of a recording");
    }
    return line;
}

}  // namespace

std::vector<RecordingLine> readRecording(std::istream& in) {
    std::vector<RecordingLine> events;
    int number = 0;
    for (std::string text; std::getline(in, text);) {
        ++number;
        try {
            const atoms::RecordingLine line = parse(text);
            if (line.has_fields()) events.push_back(eventOf(line));
        } catch (const std::runtime_error& error) {
            throw std::runtime_error("line " + std::to_string(number) + ": " + error.what());
        }
    }
    return events;
}

}  // namespace zstats::cli
