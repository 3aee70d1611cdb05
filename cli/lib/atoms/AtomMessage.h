#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "cli/lib/atoms/AtomCatalogue.h"

namespace zstats::atoms {
class Atom;
}  // namespace zstats::atoms

namespace zstats::cli {

/** An atom in a message of statsd. */
struct AtomMessage {
    int32_t id = 0;
    /** By field number, from 1. Fields may be missing; a list repeats its number. */
    std::multimap<int, AtomValue> fields;
};

/**
 * Decodes an atom. A field that the catalogue lacks gets a type by its encoding. A string that
 * statsd hashed becomes a hashedString().
 */
AtomMessage readAtomMessage(const atoms::Atom& message);

/** The text for a string that statsd hashed: "hash:" and 16 hexadecimal digits. */
std::string hashedString(uint64_t hash);

}  // namespace zstats::cli
