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

/** An atom as it goes through the stream. */
struct StreamedAtom {
    int32_t id = 0;
    int64_t timestampNs = 0;  // time since boot
    int32_t uid = -1;         // who wrote it; -1 if the stream does not tell
    std::vector<AtomValue> fields;
};

/** A frame that carries the atoms, with their writers' uids if asked for; a heartbeat for none. */
std::string shellFrame(const std::vector<StreamedAtom>& atoms, bool withUids);

/** The atoms of a message by the catalogue; nothing if it does not parse. */
std::optional<std::vector<StreamedAtom>> parseShellData(std::string_view message);

/** Cuts a stream, however its bytes arrive, into messages. Not thread-safe. */
class ShellFrameCutter {
  public:
    /** A longer message, in bytes, is taken for a broken stream. */
    static constexpr uint64_t kMaxMessage = 16 << 20;

    void append(const char* bytes, size_t count) { mPending.append(bytes, count); }

    /** The next message, empty for a heartbeat; nothing when more bytes are needed, or broken. */
    std::optional<std::string> next();

    bool broken() const { return mBroken; }

  private:
    std::string mPending;
    bool mBroken = false;
};

}  // namespace zstats::cli
