#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/lib/atoms/AtomCatalogue.h"

namespace zstats::cli {

/**
 * statsd's stream to a shell subscription: frames of an 8-byte little-endian length and a ShellData
 * message of that length. A length of 0 is a heartbeat.
 */

inline constexpr size_t kShellLengthBytes = 8;

/** An atom of the stream. */
struct StreamedAtom {
    int32_t id = 0;
    int64_t timestampNs = 0;  // time since boot
    int32_t uid = -1;         // of its writer; -1 if unknown
    std::vector<AtomValue> fields;
};

/** A frame with the atoms, and their writers' uids if requested; a heartbeat without atoms. */
std::string shellFrame(const std::vector<StreamedAtom>& atoms, bool withUids);

/** The atoms of a message, by the catalogue; no value if it is malformed. */
std::optional<std::vector<StreamedAtom>> parseShellData(std::string_view message);

/** Splits a stream into messages, at any division of its bytes. Not thread-safe. */
class ShellFrameCutter {
  public:
    /** A stream with a longer message, in bytes, counts as broken. */
    static constexpr uint64_t kMaxMessage = 16 << 20;

    void append(const char* bytes, size_t count) { mPending.append(bytes, count); }

    /** The next message, empty for a heartbeat; no value if incomplete or broken. */
    std::optional<std::string> next();

    bool broken() const { return mBroken; }

  private:
    std::string mPending;
    bool mBroken = false;
};

}  // namespace zstats::cli
