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

/** A number that changes over time: one field of an atom, and of one key where it has several. */
struct Series {
    int32_t atomId = 0;
    size_t field = 0;  // 0-based, in event order
    std::string key;   // "cpu 3", "2133 MHz", "wlan_rx"; empty for an atom with one event a pull
    std::optional<int32_t> keyNumber;  // 3, 2133; nothing if the key is a text
    std::string name;                  // "battery_voltage_now voltage", "cpu_idle idle_time, cpu 3"
    std::string unit;   // "mV"; "ms/s" for a rate; empty if the catalogue does not know
    bool rate = false;  // a difference between two pulls, for a second
    ShareOf shareOf = ShareOf::kNothing;
};

/** A value of a series, and the time from which it holds. */
struct Sample {
    size_t series = 0;        // index in AtomSeries::all()
    int64_t timestampNs = 0;  // of the event; of the pull before for a rate
    std::variant<int64_t, double> value;
};

/**
 * Sorts the fields of streamed atoms into series. Every field that is a number is one, except the
 * one that tells the events of a pull apart (a frequency, a CPU's number): each of its values has
 * series of its own. Fields of atoms that count since the pull before become rates, from the second
 * pull on. Not thread-safe.
 */
class AtomSeries {
  public:
    /**
     * The samples of the atoms of one message of the stream, in their order. Pushed atoms have
     * none. Behind them a sample of 0 for each key that is gone, of the fields that the catalogue
     * says are 0 then: its atom came without it, or has not come while another was pulled twice.
     */
    std::vector<Sample> add(const std::vector<StreamedAtom>& atoms);

    /**
     * Samples of 0 at `nowNs` (CLOCK_BOOTTIME) for keys that are gone, where nothing else streams
     * that could tell; see add().
     */
    std::vector<Sample> expire(int64_t nowNs);

    const std::vector<Series>& all() const { return mAll; }

  private:
    struct State {
        int64_t lastNs = 0;
        bool expired = false;
        bool zeroWhenAbsent = false;
        std::map<int32_t, int> messagesSince;  // by atom: those that came without this series
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
