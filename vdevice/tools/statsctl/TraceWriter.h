#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "vdevice/tools/statsctl/AtomSeries.h"

namespace zstats::vdevice {

/** The same moment on three clocks of the device, in ns. */
struct ClockReadings {
    int64_t realtimeNs = 0;
    int64_t monotonicNs = 0;
    int64_t boottimeNs = 0;
};

/** The clocks as they stand now. */
ClockReadings readClocks();

/**
 * Writes streamed atoms as a Perfetto trace: a counter track for each series, grouped by atom, and
 * an instant event with its fields as arguments for each pushed atom. Times are the events' own, on
 * CLOCK_BOOTTIME. A value is written when it differs from the one before, and at least every 10 s.
 * Not thread-safe.
 */
class TraceWriter {
  public:
    /** Takes whole packets, one or several a call, in the order of the file. */
    using Sink = std::function<void(std::string_view packets)>;

    /** Writes what stands at the beginning of a trace. */
    TraceWriter(Sink sink, const ClockReadings& clocks);

    /** Writes the atoms of one message of the stream. */
    void add(const std::vector<StreamedAtom>& atoms);

    /** To be called now and then with CLOCK_BOOTTIME: lets values of keys that are gone fall to 0. */
    void advance(int64_t boottimeNs);

  private:
    struct Track {
        uint64_t uuid = 0;
        std::variant<int64_t, double> value;
        int64_t writtenNs = 0;
    };

    void write(const std::vector<Sample>& samples);
    void flush();
    void writePushed(const StreamedAtom& atom);
    uint64_t groupOf(int32_t atomId);
    Track& trackOf(size_t series);

    Sink mSink;
    std::string mPending;  // packets of the call that is under way
    AtomSeries mSeries;
    std::map<int32_t, uint64_t> mGroups;  // track of each atom
    std::map<size_t, Track> mTracks;      // by series
    uint64_t mLastUuid = 0;
};

}  // namespace zstats::vdevice
