#include "cli/statsctl/AtomSchema.h"

#include "cli/lib/atoms/AtomCatalogue.h"
#include "cli/lib/atoms/AtomJson.h"

namespace zstats::cli {
namespace {

constexpr char kText[] = R"({"type":"string"})";
constexpr char kTime[] =
        R"({"type":"string","pattern":"^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{9}Z$"})";
constexpr char kBootId[] =
        R"({"type":"string","pattern":"^[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}$"})";
constexpr char kElapsed[] = R"({"type":"integer","minimum":0})";

std::string valueSchema(const std::string& type) {
    if (type == "int32") return R"({"type":"integer","minimum":-2147483648,"maximum":2147483647})";
    if (type == "int64") return R"({"type":"integer"})";
    if (type == "float") return R"({"type":["number","null"]})";
    if (type == "bool") return R"({"type":"boolean"})";
    return kText;
}

std::string constant(const std::string& text) {
    return "{\"const\":" + jsonString(text) + "}";
}

/** A list of exactly these items, in this order. */
std::string listSchema(const std::string& items, size_t count) {
    const std::string number = std::to_string(count);
    return R"({"type":"array","prefixItems":[)" + items + R"(],"items":false,"minItems":)" +
           number + "}";
}

std::string objectSchema(const std::string& properties, const std::string& required) {
    return R"({"type":"object","properties":{)" + properties + R"(},"required":[)" + required +
           R"(],"additionalProperties":false})";
}

std::string headSchema(const AtomInfo& info) {
    return "\"atom\":{\"const\":" + std::to_string(info.id) + "},\"name\":" + constant(info.name);
}

std::string eventSchema(const AtomInfo& info) {
    std::string fields;
    std::string names;
    std::string types;
    std::string units;
    for (const FieldInfo& field : info.fields) {
        const std::string comma = fields.empty() ? "" : ",";
        fields += comma + valueSchema(field.type);
        names += comma + constant(field.name);
        types += comma + constant(field.type);
        units += comma + constant(field.unit);
    }
    const size_t count = info.fields.size();
    return objectSchema(headSchema(info) + ",\"elapsed_ns\":" + kElapsed + ",\"time\":" + kTime +
                                ",\"boot_id\":" + kBootId +
                                ",\"fields\":" + listSchema(fields, count) +
                                ",\"names\":" + listSchema(names, count) + ",\"types\":" +
                                listSchema(types, count) + ",\"units\":" + listSchema(units, count),
                        R"("atom","name","fields","names","types")");
}

/** A pull without an event. */
std::string noEventSchema(const char* member, const char* schema) {
    return objectSchema("\"atom\":{\"type\":\"integer\"},\"name\":" + std::string(kText) + ",\"" +
                                member + "\":" + schema,
                        "\"atom\",\"name\",\"" + std::string(member) + "\"");
}

std::string headerSchema() {
    return objectSchema(R"("recording":{"enum":["subscribe","pull","report"]},"device":)" +
                                std::string(kText) + ",\"fingerprint\":" + kText +
                                ",\"daemon\":{\"type\":\"string\",\"pattern\":\"^[0-9a-f]+$\"}" +
                                ",\"boot_id\":" + kBootId + ",\"elapsed_ns\":" + kElapsed +
                                ",\"time\":" + kTime,
                        R"("recording","elapsed_ns")");
}

}  // namespace

std::string recordingSchema() {
    std::string lines = headerSchema();
    for (const int32_t id : allAtomIds()) {
        if (!atomInfo(id).neverFilled) lines += ",\n" + eventSchema(atomInfo(id));
    }
    lines += ",\n" + noEventSchema("events", R"({"const":0})");
    lines += ",\n" + noEventSchema("failed", kText);
    lines += ",\n" + noEventSchema("unbuilt", R"({"const":true})");
    return R"({"$schema":"https://json-schema.org/draft/2020-12/schema","oneOf":[)"
           "\n" +
           lines + "]}";
}

}  // namespace zstats::cli
