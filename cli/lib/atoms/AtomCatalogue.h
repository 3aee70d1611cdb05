#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace zstats::cli {

/** A field's value, of the type that the event carries. */
using AtomValue = std::variant<int32_t, int64_t, float, bool, std::string>;

/** Of what a field's value is a share. */
enum class ShareOf {
    kNothing,
    kPull,    // the time of all events of one pull
    kUptime,  // the time since boot, in ms
};

/** What the catalogue says of a field. */
struct FieldInfo {
    std::string name;
    std::string type;  // int32, int64, float, bool or string
    std::string unit;  // empty if the catalogue does not know
    ShareOf shareOf = ShareOf::kNothing;
    bool zeroWhenAbsent = false;  // 0 while no event has its key
};

/** What the catalogue says of an atom. */
struct AtomInfo {
    int32_t id = 0;
    std::string name;
    std::vector<FieldInfo> fields;  // in event order
    std::string oneEventPer;        // empty: one event a pull at most
    bool delta = false;             // values count from the pull before
    bool neverFilled = false;       // has no event on any device
    bool pushed = false;
    std::string conversion;  // what the handler makes of what it reads; empty: nothing

    /** Name of the field at `index`, also beyond what the catalogue knows. */
    std::string fieldName(size_t index) const;
    /** Its unit; empty where the catalogue knows none. */
    std::string unitOf(size_t index) const;
};

/** The catalogue's entry; for an id that it lacks, one named "unknown" without fields. */
const AtomInfo& atomInfo(int32_t id);

/** Ids of all pulled atoms in the catalogue, ascending. */
std::vector<int32_t> pulledAtomIds();

/** Those and the pushed ones. */
std::vector<int32_t> allAtomIds();

/** The type's name: int32, int64, float, bool or string. */
const char* typeName(const AtomValue& value);

/** The value as text, a float in the shortest form that reads back equal. */
std::string valueText(const AtomValue& value);

}  // namespace zstats::cli
