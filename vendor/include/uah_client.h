#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

/** Contract of the closed client of the usage data set. */

/**
 * The value of a record: alternative 0 is a number, alternative 1 a comma-separated text. The
 * library creates the values and the daemon destroys them, so the list of alternatives must be
 * exactly the library's.
 */
using UahValue = std::variant<int64_t, std::string>;

/**
 * A record in the vector that library and daemon share. Both are built against the same C++
 * library. If the library has other alternatives or fields, change this header.
 *
 *     offset  size
 *          0  8                    internal to the library
 *          8  sizeof(std::string)  the number or the text
 *       then  8                    the index of the alternative, and padding
 */
struct UahRecord {
    int64_t id;
    UahValue value;
};

static_assert(std::variant_size_v<UahValue> == 2);
static_assert(std::is_same_v<std::variant_alternative_t<0, UahValue>, int64_t>);
static_assert(std::is_same_v<std::variant_alternative_t<1, UahValue>, std::string>);
static_assert(offsetof(UahRecord, value) == 8);
static_assert(sizeof(UahValue) == sizeof(std::string) + 8);
static_assert(sizeof(UahRecord) == sizeof(std::string) + 16);
static_assert(alignof(UahRecord) == 8);

/** Appends to `records`; returns a negative value on failure. Any thread. */
extern "C" int Uah_fetch_dataset(std::vector<UahRecord>* records);
