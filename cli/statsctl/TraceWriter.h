#pragma once

#include <sys/utsname.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/lib/atoms/RecordedEvent.h"
#include "cli/statsctl/AtomSeries.h"

namespace zstats::perfetto {
class TracePacket;
}

namespace zstats::cli {

/** The same moment on three clocks of the device, in ns. */
struct ClockReadings {
    int64_t realtimeNs = 0;
    int64_t monotonicNs = 0;
    int64_t boottimeNs = 0;
};

/** Reads the clocks. */
ClockReadings readClocks();

/** The device of a trace. Unknown texts are empty. */
struct TraceDevice {
    RecordingHeader header;
    utsname kernel = {};
    std::string soc;               // model of the chip
    int32_t minutesEastOfUtc = 0;  // the time zone
};

/**
 * Writes streamed atoms as a Perfetto trace: a counter track for each series whose value changes,
 * grouped by atom, and an instant event with its fields as arguments for each pushed atom and for
 * the first event of each pulled atom and key. Times are those of the events, on CLOCK_BOOTTIME. A
 * track begins with the series' first value; each further value differs from the previous one. A
 * track's uuid and descriptor depend only on atom, field and key, so that traces of several
 * recordings can be joined. Not thread-safe.
 */
class TraceWriter {
  public:
    /** Receives whole packets, in the order of the file. */
    using Sink = std::function<void(std::string_view packets)>;

    /** Writes the beginning of a trace: clocks, device and the root of all tracks. */
    TraceWriter(Sink sink, const ClockReadings& clocks, const TraceDevice& device);

    /** Writes the atoms of one message of the stream. */
    void add(const std::vector<StreamedAtom>& atoms);

    /** Sets values of absent keys to 0. Call regularly, with CLOCK_BOOTTIME. */
    void advance(int64_t boottimeNs);

  private:
    struct Track {
        uint64_t uuid = 0;  // 0 until the value has changed and the track is in the trace
        Sample last;
    };

    void append(const perfetto::TracePacket& packet);
    void write(const std::vector<Sample>& samples);
    void writeSample(uint64_t track, const Sample& sample);
    void writeInstant(uint64_t track, const StreamedAtom& atom);
    void writeIfFirst(const StreamedAtom& atom);
    void writeBattery(const StreamedAtom& atom);
    void flush();
    uint64_t describeGroup(int32_t atomId);
    uint64_t describeCounter(const Series& series);

    Sink mSink;
    std::string mPending;  // packets of the current call
    AtomSeries mSeries;
    std::set<uint64_t> mGroups;                       // tracks of atoms that are in the trace
    std::map<size_t, Track> mTracks;                  // by series; those that have a value
    std::set<std::pair<int32_t, std::string>> mSeen;  // atoms and keys
    std::map<int32_t, int32_t> mBattery;              // last values by atom
};

}  // namespace zstats::cli
