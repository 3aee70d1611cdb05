#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace zstats::cli {

/** A field's value, in the type of the event. */
using AtomValue = std::variant<int32_t, int64_t, float, bool, std::string>;

/** The whole of which a field's value is a share. */
enum class ShareOf {
    kNothing,
    kPull,    // the time of all events of one pull
    kUptime,  // the time since boot, in ms
};

/** A field in the catalogue. */
struct FieldInfo {
    std::string name;
    std::string type;  // int32, int64, float, bool or string
    std::string unit;  // empty if unknown
    ShareOf shareOf = ShareOf::kNothing;
    bool zeroWhenAbsent = false;  // 0 while no event has its key
};

/** An atom in the catalogue. */
struct AtomInfo {
    int32_t id = 0;
    std::string name;
    std::vector<FieldInfo> fields;  // in event order
    std::string oneEventPer;        // empty: at most one event in a pull
    bool delta = false;             // values are differences to the previous pull
    bool neverFilled = false;       // has no event on any device
    bool pushed = false;
    std::string conversion;  // of the values that the handler reads; empty: none

    /** Name of the field at `index`, also of fields that the catalogue lacks. */
    std::string fieldName(size_t index) const;
    /** Unit of the field at `index`; empty if unknown. */
    std::string unitOf(size_t index) const;
};

/** The catalogue's entry; for an unknown id, one named "unknown" without fields. */
const AtomInfo& atomInfo(int32_t id);

/** Ids of all pulled atoms in the catalogue, ascending. */
std::vector<int32_t> pulledAtomIds();

/** Ids of all atoms in the catalogue, pulled and pushed. */
std::vector<int32_t> allAtomIds();

/** The type's name: int32, int64, float, bool or string. */
const char* typeName(const AtomValue& value);

/** The value as text; a float in the shortest form that parses to the same value. */
std::string valueText(const AtomValue& value);

}  // namespace zstats::cli
