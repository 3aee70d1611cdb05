#include "cli/lib/atoms/AtomCatalogue.h"

#include <charconv>
#include <map>

#include "proto/zstats_atoms.pb.h"

namespace zstats::cli {
namespace {

ShareOf shareOf(const google::protobuf::FieldOptions& options) {
    if (options.GetExtension(atoms::residency)) return ShareOf::kPull;
    return options.GetExtension(atoms::residency_since_boot) ? ShareOf::kUptime : ShareOf::kNothing;
}

FieldInfo describeField(const google::protobuf::FieldDescriptor& field) {
    const google::protobuf::FieldOptions& options = field.options();
    return {field.name(), field.type_name(), options.GetExtension(atoms::unit), shareOf(options),
            options.GetExtension(atoms::zero_when_absent)};
}

AtomInfo describeAtom(const google::protobuf::FieldDescriptor& entry) {
    const google::protobuf::Descriptor& message = *entry.message_type();
    AtomInfo info;
    info.id = entry.number();
    info.name = entry.name();
    info.oneEventPer = message.options().GetExtension(atoms::one_event_per);
    info.delta = message.options().GetExtension(atoms::delta);
    info.neverFilled = message.options().GetExtension(atoms::never_filled);
    info.conversion = message.options().GetExtension(atoms::conversion);
    info.pushed = entry.containing_oneof()->name() == "pushed";
    for (int i = 0; i < message.field_count(); ++i) {
        info.fields.push_back(describeField(*message.field(i)));
    }
    return info;
}

const std::map<int32_t, AtomInfo>& catalogue() {
    static const auto* entries = [] {
        auto* map = new std::map<int32_t, AtomInfo>;
        const google::protobuf::Descriptor& atom = *atoms::Atom::descriptor();
        for (int i = 0; i < atom.field_count(); ++i) {
            map->emplace(atom.field(i)->number(), describeAtom(*atom.field(i)));
        }
        return map;
    }();
    return *entries;
}

std::string floatText(float value) {
    char text[32];
    const auto result = std::to_chars(text, text + sizeof(text), value);
    return std::string(text, result.ptr);
}

}  // namespace

std::string AtomInfo::fieldName(size_t index) const {
    return index < fields.size() ? fields[index].name : "field_" + std::to_string(index + 1);
}

std::string AtomInfo::unitOf(size_t index) const {
    return index < fields.size() ? fields[index].unit : "";
}

const AtomInfo& atomInfo(int32_t id) {
    static const AtomInfo kUnknown = [] {
        AtomInfo info;
        info.name = "unknown";
        return info;
    }();
    const auto found = catalogue().find(id);
    return found == catalogue().end() ? kUnknown : found->second;
}

std::vector<int32_t> pulledAtomIds() {
    std::vector<int32_t> ids;
    for (const auto& [id, info] : catalogue()) {
        if (!info.pushed) ids.push_back(id);
    }
    return ids;
}

std::vector<int32_t> allAtomIds() {
    std::vector<int32_t> ids;
    for (const auto& [id, info] : catalogue()) ids.push_back(id);
    return ids;
}

const char* typeName(const AtomValue& value) {
    static constexpr const char* kNames[] = {"int32", "int64", "float", "bool", "string"};
    return kNames[value.index()];
}

std::string valueText(const AtomValue& value) {
    struct Printer {
        std::string operator()(int32_t number) const { return std::to_string(number); }
        std::string operator()(int64_t number) const { return std::to_string(number); }
        std::string operator()(float number) const { return floatText(number); }
        std::string operator()(bool truth) const { return truth ? "true" : "false"; }
        std::string operator()(const std::string& text) const { return text; }
    };
    return std::visit(Printer(), value);
}

}  // namespace zstats::cli
