#include "cli/statsctl/AtomSeries.h"

#include <optional>

namespace zstats::cli {
namespace {

// The atoms of a subscription are pulled in turn. When another atom has come twice since a key was
// seen, the key's atom was pulled in between.
constexpr int kGoneAfterMessages = 2;
constexpr int64_t kGoneAfterNs = 10'000'000'000;
constexpr double kNsInSecond = 1e9;

using Number = std::variant<int64_t, double>;

std::optional<Number> numberOf(const AtomValue& value) {
    if (const auto* narrow = std::get_if<int32_t>(&value)) return Number(int64_t{*narrow});
    if (const auto* wide = std::get_if<int64_t>(&value)) return Number(*wide);
    if (const auto* real = std::get_if<float>(&value)) return Number(double{*real});
    return std::nullopt;
}

double real(const Number& number) {
    return std::visit([](auto value) { return static_cast<double>(value); }, number);
}

/** The first field of such an atom's events is their key. */
bool hasKey(const AtomInfo& info) {
    return !info.oneEventPer.empty();
}

std::string keyOf(const AtomInfo& info, const StreamedAtom& atom) {
    if (!hasKey(info) || atom.fields.empty()) return "";
    const std::string value = valueText(atom.fields.front());
    // A number needs its unit or the field's name to be understood; a name does not.
    if (std::holds_alternative<std::string>(atom.fields.front())) return value;
    const FieldInfo& field = info.fields.front();
    return field.unit.empty() ? field.name + " " + value : value + " " + field.unit;
}

/** The key, if the atom has one and it is a number. */
std::optional<int32_t> keyNumberOf(const StreamedAtom& atom) {
    const auto* number = std::get_if<int32_t>(&atom.fields.front());
    return number != nullptr ? std::optional(*number) : std::nullopt;
}

}  // namespace

size_t AtomSeries::seriesOf(const StreamedAtom& atom, const std::string& key, size_t field) {
    const auto [entry, isNew] = mIndex.emplace(Index{{atom.id, key}, field}, mAll.size());
    if (!isNew) return entry->second;
    const AtomInfo& info = atomInfo(atom.id);
    const FieldInfo known = field < info.fields.size() ? info.fields[field] : FieldInfo();
    Series series;
    series.atomId = atom.id;
    series.field = field;
    series.key = key;
    if (hasKey(info)) series.keyNumber = keyNumberOf(atom);
    series.name = info.name + " " + info.fieldName(field) + (key.empty() ? "" : ", " + key);
    series.unit = known.unit + (info.delta ? "/s" : "");
    series.rate = info.delta;
    series.shareOf = known.shareOf;
    mAll.push_back(std::move(series));
    mStates.push_back({0, false, known.zeroWhenAbsent, {}});
    return entry->second;
}

void AtomSeries::addField(const StreamedAtom& atom, const std::string& key, size_t field,
                          std::vector<Sample>* samples) {
    const auto number = numberOf(atom.fields[field]);
    if (!number) return;
    const size_t index = seriesOf(atom, key, field);
    State& state = mStates[index];
    const int64_t beforeNs = state.lastNs;
    const int64_t sinceNs = atom.timestampNs - beforeNs;
    state.lastNs = atom.timestampNs;
    state.expired = false;
    state.messagesSince.clear();
    if (!mAll[index].rate) {
        samples->push_back({index, atom.timestampNs, *number});
    } else if (beforeNs != 0 && sinceNs > 0) {
        const double seconds = static_cast<double>(sinceNs) / kNsInSecond;
        samples->push_back({index, beforeNs, real(*number) / seconds});
    }
}

std::vector<Sample> AtomSeries::add(const std::vector<StreamedAtom>& atoms) {
    std::vector<Sample> samples;
    std::map<std::pair<int32_t, std::string>, int> seen;
    for (const StreamedAtom& atom : atoms) {
        const AtomInfo& info = atomInfo(atom.id);
        if (info.pushed) continue;
        std::string key = keyOf(info, atom);
        const int turn = ++seen[{atom.id, key}];
        if (turn > 1) key += " #" + std::to_string(turn);
        for (size_t field = hasKey(info) ? 1 : 0; field < atom.fields.size(); ++field) {
            addField(atom, key, field, &samples);
        }
    }
    for (size_t i = 0; i < mStates.size(); ++i) {
        if (!isGone(i, atoms)) continue;
        mStates[i].expired = true;
        samples.push_back({i, atoms.back().timestampNs, int64_t{0}});
    }
    return samples;
}

bool AtomSeries::isGone(size_t series, const std::vector<StreamedAtom>& atoms) {
    State& state = mStates[series];
    if (atoms.empty() || !state.zeroWhenAbsent || state.expired) return false;
    const int32_t own = mAll[series].atomId;
    const int32_t came = atoms.front().id;  // a message holds the events of one pull
    if (atomInfo(came).pushed || (came == own && state.lastNs >= atoms.front().timestampNs)) {
        return false;
    }
    return came == own || ++state.messagesSince[came] >= kGoneAfterMessages;
}

std::vector<Sample> AtomSeries::expire(int64_t nowNs) {
    std::vector<Sample> samples;
    for (size_t i = 0; i < mStates.size(); ++i) {
        State& state = mStates[i];
        if (!state.zeroWhenAbsent || state.expired || nowNs - state.lastNs <= kGoneAfterNs)
            continue;
        state.expired = true;
        samples.push_back({i, nowNs, int64_t{0}});
    }
    return samples;
}

}  // namespace zstats::cli
