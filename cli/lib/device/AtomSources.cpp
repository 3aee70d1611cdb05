#include "cli/lib/device/AtomSources.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "proto/zstats_atoms.pb.h"

namespace zstats::cli {
namespace {

using atoms::Source;

std::pair<SourceKind, std::string> placeOf(const Source& source) {
    switch (source.place_case()) {
        case Source::kKey:
            return {SourceKind::kKey, source.key()};
        case Source::kCharger:
            return {SourceKind::kCharger, source.charger()};
        case Source::kTouch:
            return {SourceKind::kTouch, source.touch()};
        case Source::kCalda:
            return {SourceKind::kCalda, std::to_string(source.calda())};
        case Source::kThermal:
            return {SourceKind::kThermal, source.thermal()};
        case Source::kAudio:
            return {SourceKind::kAudio, source.audio()};
        case Source::kUsage:
            return {SourceKind::kUsage, source.usage()};
        case Source::kFile:
            return {SourceKind::kFile, source.file()};
        case Source::kProperty:
            return {SourceKind::kProperty, source.property()};
        case Source::PLACE_NOT_SET:
            break;
    }
    throw std::logic_error("an atom reads a source without a place");
}

SourceDevice deviceOf(const Source& source) {
    if (source.device() == Source::ANY) return SourceDevice::kAny;
    return source.device() == Source::QCOM ? SourceDevice::kQcom : SourceDevice::kNotQcom;
}

std::vector<ValueSource> readCatalogue() {
    std::vector<ValueSource> sources;
    const google::protobuf::Descriptor& catalogue = *atoms::Atom::descriptor();
    for (int i = 0; i < catalogue.field_count(); ++i) {
        const google::protobuf::FieldDescriptor& atom = *catalogue.field(i);
        const google::protobuf::MessageOptions& options = atom.message_type()->options();
        for (int n = 0; n < options.ExtensionSize(atoms::reads); ++n) {
            const Source& source = options.GetExtension(atoms::reads, n);
            auto [kind, name] = placeOf(source);
            sources.push_back({atom.number(),
                               kind,
                               std::move(name),
                               deviceOf(source),
                               {source.beside().begin(), source.beside().end()}});
        }
    }
    return sources;
}

}  // namespace

const std::vector<ValueSource>& atomSources() {
    static const std::vector<ValueSource> kSources = readCatalogue();
    return kSources;
}

std::vector<ValueSource> sourcesOf(int32_t tag, std::string_view hardware) {
    const SourceDevice device = hardware == "qcom" ? SourceDevice::kQcom : SourceDevice::kNotQcom;
    std::vector<ValueSource> sources;
    for (const ValueSource& source : atomSources()) {
        if (source.tag != tag) continue;
        if (source.device == SourceDevice::kAny || source.device == device)
            sources.push_back(source);
    }
    return sources;
}

std::vector<std::string_view> sourceNames(SourceKind kind) {
    std::vector<std::string_view> names;
    for (const ValueSource& source : atomSources()) {
        if (source.kind == kind) names.emplace_back(source.name);
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

}  // namespace zstats::cli
