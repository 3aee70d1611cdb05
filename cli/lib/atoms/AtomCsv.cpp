#include "cli/lib/atoms/AtomCsv.h"

#include <algorithm>

namespace zstats::cli {
namespace {

std::string quotedCell(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == text.npos) return text;
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"') out += '"';
        out += c;
    }
    return out + "\"";
}

}  // namespace

std::string csvHeading(int32_t id) {
    std::string line = "elapsed_ns,time";
    for (const FieldInfo& field : atomInfo(id).fields) line += "," + quotedCell(field.name);
    return line;
}

std::string csvRow(const RecordedEvent& event) {
    std::string line = std::to_string(event.elapsedNs) + ",";
    if (event.wallNs != 0) line += timeText(event.wallNs);
    const int known = static_cast<int>(atomInfo(event.id).fields.size());
    const int last = event.fields.empty() ? known : std::max(known, event.fields.rbegin()->first);
    for (int number = 1; number <= last; ++number) {
        std::string cell;
        const auto [begin, end] = event.fields.equal_range(number);
        for (auto field = begin; field != end; ++field) {
            cell += (field == begin ? "" : ";") + valueText(field->second);
        }
        line += "," + quotedCell(cell);
    }
    return line;
}

}  // namespace zstats::cli
