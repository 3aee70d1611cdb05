#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "cli/lib/atoms/ShellStream.h"

namespace zstats::cli {

/** A number that changes over time: a field of an atom, for one key if the atom has several. */
struct Series {
    int32_t atomId = 0;
    size_t field = 0;  // 0-based, in event order
    std::string key;   // "cpu 3", "2133 MHz", "wlan_rx"; empty for an atom with a single event
    std::optional<int32_t> keyNumber;  // 3, 2133; no value if the key is a text
    std::string name;                  // "battery_voltage_now voltage", "cpu_idle idle_time, cpu 3"
    std::string unit;                  // "mV"; "ms/s" for a rate; empty if unknown
    bool rate = false;                 // the difference between two pulls, per second
    ShareOf shareOf = ShareOf::kNothing;
};

/** A value of a series, and the time at which it begins. */
struct Sample {
    size_t series = 0;        // index in AtomSeries::all()
    int64_t timestampNs = 0;  // of the event; of the previous pull for a rate
    std::variant<int64_t, double> value;
};

/**
 * Sorts the fields of streamed atoms into series. Each numeric field is a series; the key of an atom
 * with several events (a frequency, a CPU's number) is not, but each of its values has separate
 * series. Differences to the previous pull become rates, from the second pull on. Not thread-safe.
 */
class AtomSeries {
  public:
    /**
     * The samples of the atoms of one message, in their order. Pushed atoms have none. They are
     * followed by a sample of 0 for each absent key, for fields that the catalogue marks
     * zero_when_absent. A key is absent when its atom came without it, or did not come while
     * another atom was pulled twice.
     */
    std::vector<Sample> add(const std::vector<StreamedAtom>& atoms);

    /**
     * Samples of 0 at `nowNs` (CLOCK_BOOTTIME) for absent keys when no other atom is streamed; see
     * add().
     */
    std::vector<Sample> expire(int64_t nowNs);

    const std::vector<Series>& all() const { return mAll; }

  private:
    struct State {
        int64_t lastNs = 0;
        bool expired = false;
        bool zeroWhenAbsent = false;
        std::map<int32_t, int> messagesSince;  // by atom: messages without this series
    };

    /** Atom, key and field. */
    using Index = std::pair<std::pair<int32_t, std::string>, size_t>;

    size_t seriesOf(const StreamedAtom& atom, const std::string& key, size_t field);
    void addField(const StreamedAtom& atom, const std::string& key, size_t field,
                  std::vector<Sample>* samples);

    bool isGone(size_t series, const std::vector<StreamedAtom>& atoms);

    std::vector<Series> mAll;
    std::vector<State> mStates;  // by series
    std::map<Index, size_t> mIndex;
};

}  // namespace zstats::cli
