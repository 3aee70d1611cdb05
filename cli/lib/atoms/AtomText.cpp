#include "cli/lib/atoms/AtomText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>

#include "cli/lib/atoms/TextColumns.h"

namespace zstats::cli {
namespace {

constexpr size_t kNameColumn = 8;
constexpr size_t kFieldColumn = 40;
constexpr size_t kBarLength = 24;
// Events with more fields are printed as "name value" pairs instead of table rows.
constexpr size_t kMaxColumns = 8;

using Row = std::vector<std::string>;

std::string withUnit(const AtomValue& value, const std::string& unit) {
    return valueText(value) + (unit.empty() ? "" : " " + unit);
}

std::vector<std::string> fieldTexts(const AtomInfo& info, const std::vector<AtomValue>& fields) {
    std::vector<std::string> texts;
    for (size_t i = 0; i < fields.size(); ++i) {
        texts.push_back(info.fieldName(i) + " " + withUnit(fields[i], info.unitOf(i)));
    }
    return texts;
}

/** The texts, separated by commas and broken into lines that begin at `column`. */
std::string wrapped(const std::vector<std::string>& texts, size_t column) {
    std::string out;
    size_t at = column;
    for (size_t i = 0; i < texts.size(); ++i) {
        const std::string piece = texts[i] + (i + 1 < texts.size() ? "," : "");
        const bool fits = at + 1 + textWidth(piece) <= kTextWidth;
        if (i > 0) out += fits ? " " : "\n" + std::string(column, ' ');
        at = (i == 0 || !fits ? column : at + 1) + textWidth(piece);
        out += piece;
    }
    return out + "\n";
}

double number(const AtomValue& value) {
    if (const auto* wide = std::get_if<int64_t>(&value)) return static_cast<double>(*wide);
    if (const auto* narrow = std::get_if<int32_t>(&value)) return *narrow;
    return 0;
}

/** Index of the field with a bar; the number of fields if none has one. */
size_t shareIndex(const AtomInfo& info) {
    const auto found =
            std::find_if(info.fields.begin(), info.fields.end(),
                         [](const FieldInfo& field) { return field.shareOf != ShareOf::kNothing; });
    return static_cast<size_t>(found - info.fields.begin());
}

/** For each event, a bar and its share in percent. */
std::vector<std::string> bars(const AtomInfo& info, const std::vector<PulledEvent>& events,
                              int64_t uptimeMs) {
    const size_t index = shareIndex(info);
    if (index == info.fields.size()) return std::vector<std::string>(events.size());
    const bool ofUptime = info.fields[index].shareOf == ShareOf::kUptime;
    std::vector<double> times;
    for (const PulledEvent& event : events) {
        const bool has = index < event.fields.size();
        times.push_back(has ? std::max(number(event.fields[index]), 0.0) : 0.0);
    }
    double whole = ofUptime ? static_cast<double>(uptimeMs) : 0;
    if (!ofUptime) whole = std::accumulate(times.begin(), times.end(), 0.0);
    std::vector<std::string> result;
    for (double time : times) {
        const double share = whole > 0 ? time / whole : 0;
        const auto filled = static_cast<size_t>(std::lround(std::min(share, 1.0) * kBarLength));
        char text[48];
        snprintf(text, sizeof(text), "%5.1f %% of the %s", 100 * share,
                 ofUptime ? "uptime" : "time");
        result.push_back(std::string(filled, '#') + std::string(kBarLength - filled, '.') + "  " +
                         text);
    }
    return result;
}

Row heads(const AtomInfo& info, size_t count) {
    Row row;
    for (size_t i = 0; i < count; ++i) row.push_back(info.fieldName(i));
    return row;
}

std::vector<Row> valueRows(const AtomInfo& info, const std::vector<PulledEvent>& events) {
    std::vector<Row> rows;
    for (const PulledEvent& event : events) {
        Row row;
        for (size_t i = 0; i < event.fields.size(); ++i) {
            row.push_back(withUnit(event.fields[i], info.unitOf(i)));
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

std::string columnsText(const AtomInfo& info, const std::vector<PulledEvent>& events,
                        int64_t uptimeMs) {
    std::vector<Row> rows = valueRows(info, events);
    const std::vector<std::string> barTexts = bars(info, events, uptimeMs);
    rows.insert(rows.begin(), heads(info, events.front().fields.size()));
    std::vector<size_t> widths(rows.front().size());
    for (const Row& row : rows) {
        for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], textWidth(row[i]));
    }
    std::string out;
    for (size_t r = 0; r < rows.size(); ++r) {
        std::string line(kNameColumn, ' ');
        for (size_t i = 0; i < rows[r].size(); ++i) {
            const bool text = std::holds_alternative<std::string>(events.front().fields[i]);
            line += "  " + padded(rows[r][i], widths[i], !text);
        }
        if (r > 0 && !barTexts[r - 1].empty()) line += "  " + barTexts[r - 1];
        out += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return out;
}

bool fitsColumns(const std::vector<PulledEvent>& events) {
    return std::all_of(events.begin(), events.end(), [&](const PulledEvent& event) {
        return event.valid && event.fields.size() <= kMaxColumns &&
               event.fields.size() == events.front().fields.size();
    });
}

std::string listText(const AtomInfo& info, const std::vector<PulledEvent>& events) {
    std::string out;
    for (const PulledEvent& event : events) {
        const std::string bullet = std::string(kNameColumn, ' ') + "- ";
        std::vector<std::string> texts = fieldTexts(info, event.fields);
        if (!event.valid) texts.insert(texts.begin(), "(left unbuilt: statsd drops it)");
        out += bullet + wrapped(texts, kNameColumn + 2);
    }
    return out;
}

std::string lineHead(int32_t tag) {
    const std::string id = padded(std::to_string(tag), kNameColumn, false);
    return padded(id + atomInfo(tag).name, kFieldColumn, false);
}

std::string manyText(const AtomInfo& info, const std::vector<PulledEvent>& events,
                     int64_t uptimeMs) {
    std::string head = std::to_string(events.size()) + (events.size() == 1 ? " event" : " events");
    if (!info.oneEventPer.empty()) head += ", one for each " + info.oneEventPer;
    if (info.delta) head += ", since the pull before";
    return head + "\n" +
           (fitsColumns(events) ? columnsText(info, events, uptimeMs) : listText(info, events));
}

}  // namespace

std::string eventText(int32_t id, const std::vector<AtomValue>& fields) {
    std::string out;
    for (const std::string& text : fieldTexts(atomInfo(id), fields)) {
        out += (out.empty() ? "" : ", ") + text;
    }
    return out;
}

std::string textHeading() {
    const std::string tag = padded("tag", kNameColumn, false);
    return padded(tag + "atom", kFieldColumn, false) + "fields\n";
}

std::string atomText(const PulledAtom& atom, int64_t uptimeMs) {
    const AtomInfo& info = atomInfo(atom.tag);
    const std::string head = lineHead(atom.tag);
    if (!atom.answered()) return head + "FAILED: " + atom.failure + "\n";
    if (atom.events.empty()) {
        return head + (info.neverFilled ? "no event (this atom never has one)\n" : "no event\n");
    }
    const bool plain =
            atom.events.size() == 1 && atom.events.front().valid && info.oneEventPer.empty();
    if (!plain) return head + manyText(info, atom.events, uptimeMs);
    return head + wrapped(fieldTexts(info, atom.events.front().fields), kFieldColumn);
}

}  // namespace zstats::cli
