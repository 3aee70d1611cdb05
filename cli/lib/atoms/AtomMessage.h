#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "cli/lib/atoms/AtomCatalogue.h"

namespace zstats::atoms {
class Atom;
}  // namespace zstats::atoms

namespace zstats::cli {

/** An atom as statsd's messages carry it. */
struct AtomMessage {
    int32_t id = 0;
    /** By field number, from 1. A configuration may leave fields out; a list has its number twice. */
    std::multimap<int, AtomValue> fields;
};

/**
 * Reads an atom. A field that the catalogue lacks has the type that its encoding suggests. A string
 * that statsd hashed is a hashedString().
 */
AtomMessage readAtomMessage(const atoms::Atom& message);

/** What stands in place of a string that statsd hashed: "hash:" and 16 hexadecimal digits. */
std::string hashedString(uint64_t hash);

}  // namespace zstats::cli
