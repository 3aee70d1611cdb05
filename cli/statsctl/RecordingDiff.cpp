#include "cli/statsctl/RecordingDiff.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <optional>
#include <set>
#include <tuple>

namespace zstats::cli {
namespace {

/** The values of one field over a recording. */
struct Series {
    std::vector<double> numbers;
    std::set<std::string> texts;

    void add(const AtomValue& value) {
        if (const auto* narrow = std::get_if<int32_t>(&value))
            numbers.push_back(*narrow);
        else if (const auto* wide = std::get_if<int64_t>(&value))
            numbers.push_back(static_cast<double>(*wide));
        else if (const auto* real = std::get_if<float>(&value))
            numbers.push_back(static_cast<double>(*real));
        else
            texts.insert(valueText(value));
    }
};

/** An atom, its key as "name value" (empty without one), a field's name. */
using FieldKey = std::tuple<int32_t, std::string, std::string>;
using EventKey = std::pair<int32_t, std::string>;

/** A recording by atom, key and field. */
struct Summary {
    std::map<int32_t, std::string> names;
    std::set<EventKey> events;
    std::map<FieldKey, Series> fields;

    explicit Summary(const std::vector<RecordingLine>& lines) {
        for (const RecordingLine& line : lines) add(line);
    }

    void add(const RecordingLine& line) {
        const bool keyed = !atomInfo(line.atom).oneEventPer.empty() && !line.fields.empty();
        std::string key;
        if (keyed) key = line.fields[0].name + " " + valueText(line.fields[0].value);
        names[line.atom] = line.name;
        events.emplace(line.atom, key);
        for (size_t i = keyed ? 1 : 0; i < line.fields.size(); ++i) {
            fields[{line.atom, key, line.fields[i].name}].add(line.fields[i].value);
        }
    }
};

double medianOf(std::vector<double> numbers) {
    const size_t middle = numbers.size() / 2;
    std::sort(numbers.begin(), numbers.end());
    return numbers.size() % 2 == 1 ? numbers[middle] : (numbers[middle - 1] + numbers[middle]) / 2;
}

double figureOf(const Series& series, bool summed) {
    if (summed) return std::accumulate(series.numbers.begin(), series.numbers.end(), 0.0);
    return medianOf(series.numbers);
}

std::string numberText(double number, const std::string& unit, bool signed_) {
    char text[64];
    const bool whole = std::nearbyint(number) == number && std::fabs(number) < 9e15;
    snprintf(text, sizeof(text),
             whole ? (signed_ ? "%+.0f" : "%.0f") : (signed_ ? "%+.4g" : "%.4g"), number);
    return text + (unit.empty() ? "" : " " + unit);
}

std::string setText(const std::set<std::string>& texts) {
    std::string out;
    for (const std::string& text : texts) out += (out.empty() ? "" : "|") + text;
    return out;
}

std::string unitOf(int32_t atom, const std::string& field) {
    for (const FieldInfo& info : atomInfo(atom).fields) {
        if (info.name == field) return info.unit;
    }
    return "";
}

/** A line for the change between two series of a field; no value without one. */
std::optional<std::string> moved(const FieldKey& key, const Series& before, const Series& after,
                                 double minPercent) {
    const auto& [atom, eventKey, field] = key;
    if (before.numbers.empty() || after.numbers.empty()) {
        if (before.texts == after.texts) return std::nullopt;
        return setText(before.texts) + " -> " + setText(after.texts);
    }
    const bool summed = atomInfo(atom).delta;
    const double from = figureOf(before, summed);
    const double to = figureOf(after, summed);
    if (from == to || std::fabs(to - from) * 100 < minPercent * std::fabs(from))
        return std::nullopt;
    const std::string unit = unitOf(atom, field);
    return numberText(from, unit, false) + " -> " + numberText(to, unit, false) + " (" +
           numberText(to - from, unit, true) + ")";
}

std::string lineHead(const char* what, const EventKey& key, const std::string& name) {
    return std::string(what) + "  " + std::to_string(key.first) + "  " + name +
           (key.second.empty() ? "" : "  " + key.second);
}

/** Lines for atoms and keys that only `one` has. */
void addMissing(const char* what, const Summary& one, const Summary& other,
                std::vector<std::string>* lines) {
    for (const auto& [atom, name] : one.names) {
        if (other.names.count(atom) == 0) lines->push_back(lineHead(what, {atom, ""}, name));
    }
    for (const EventKey& key : one.events) {
        const bool known = other.names.count(key.first) != 0;
        if (known && other.events.count(key) == 0) {
            lines->push_back(lineHead(what, key, one.names.at(key.first)));
        }
    }
}

std::string fieldHead(const char* what, const FieldKey& key, const Summary& summary) {
    const auto& [atom, eventKey, field] = key;
    return lineHead(what, {atom, eventKey}, summary.names.at(atom)) + "  " + field;
}

/** Lines for fields that only `one` has, although `other` has the atom and the key. */
void addMissingFields(const char* what, const Summary& one, const Summary& other,
                      std::vector<std::string>* lines) {
    for (const auto& [key, series] : one.fields) {
        const auto& [atom, eventKey, field] = key;
        if (other.events.count({atom, eventKey}) == 0 || other.fields.count(key) != 0) continue;
        lines->push_back(fieldHead(what, key, one));
    }
}

}  // namespace

std::vector<std::string> diffRecordings(const std::vector<RecordingLine>& before,
                                        const std::vector<RecordingLine>& after, double minPercent) {
    const Summary first(before);
    const Summary second(after);
    std::vector<std::string> lines;
    addMissing("gone ", first, second, &lines);
    addMissing("new  ", second, first, &lines);
    addMissingFields("gone ", first, second, &lines);
    addMissingFields("new  ", second, first, &lines);
    for (const auto& [key, series] : first.fields) {
        const auto found = second.fields.find(key);
        if (found == second.fields.end()) continue;
        const auto text = moved(key, series, found->second, minPercent);
        if (text) lines.push_back(fieldHead("moved", key, first) + " " + *text);
    }
    return lines;
}

}  // namespace zstats::cli
