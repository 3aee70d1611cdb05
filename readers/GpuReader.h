#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zstats {

/** Reads a GPU's frequency table and residency counters in the chip vendor's format. */
class GpuStats {
  public:
    virtual ~GpuStats() = default;
    /** Appends the frequencies in kHz, in node order; nothing when the node is unreadable. */
    virtual void readFreqsKhz(std::vector<int>& out) = 0;
    /** Appends the cumulative time counters, one per frequency, in the node's own unit. */
    virtual void readFreqsTime(std::vector<long long>& out) = 0;
};

/** Nodes with all numbers in one list: frequencies in MHz, times unscaled. */
class QcomGpuStats : public GpuStats {
  public:
    void readFreqsKhz(std::vector<int>& out) override;
    void readFreqsTime(std::vector<long long>& out) override;

  private:
    std::string mFreqTableKey = "gpu_freq_table_qual";
    std::string mFreqTimeKey = "gpu_freq_time_qual";
};

/** Nodes with a line per frequency, each with a word before its numbers; frequencies in Hz. */
class MtkGpuStats : public GpuStats {
  public:
    void readFreqsKhz(std::vector<int>& out) override;
    void readFreqsTime(std::vector<long long>& out) override;

  private:
    std::string mFreqTableKey = "gpu_freq_table_mtk";
    std::string mFreqTimeKey = "gpu_freq_time_mtk";
};

/** Appends the MHz values in `content`, separated by blanks or newlines, as kHz. */
void parseQcomGpuFreqsKhz(const std::string& content, std::vector<int>& out);
/** Appends the frequency in kHz of each line with a word and a frequency in Hz. */
void parseMtkGpuFreqsKhz(const std::string& content, std::vector<int>& out);
/** Appends the time of each line with a word, a frequency and a time. */
void parseMtkGpuFreqsTime(const std::string& content, std::vector<long long>& out);

/**
 * The back-end for this device; empty, with an error line, on an unknown platform. `chipIdPath` is
 * a path that exists only on MediaTek devices.
 */
std::shared_ptr<GpuStats> getGpuStats(const char* chipIdPath);

/**
 * Turns the GPU's cumulative residency counters into differences between two readings. Not
 * thread-safe.
 */
class GpuReader {
  public:
    /** Chooses the back-end of this device and takes the first reading as the baseline. */
    GpuReader();
    /** The same with a given back-end, which may be empty. */
    explicit GpuReader(std::shared_ptr<GpuStats> stats);

    /** Takes a reading: appends the cumulative counters to `out` and advances the read times. */
    void readFreqsTime(std::vector<long long>& out);
    /** The frequencies in kHz, in node order. They are read again only while the list is empty. */
    std::vector<int> getGpuFreqsKhz();
    /**
     * Takes a reading and returns the time at each frequency since the baseline, in the unit of the
     * node's counters; the reading becomes the baseline. If its length differs from the baseline's,
     * the result is zeros, with an error line, and the baseline is kept.
     */
    std::vector<long long> getGpuFreqsTimeDelta();

  private:
    int64_t mLastReadTimeMs;  // since boot
    int64_t mCurrentReadTimeMs;
    std::vector<int> mFreqsKhz;
    std::vector<long long> mLastTimes;
    std::vector<long long> mTimeDeltas;
    std::shared_ptr<GpuStats> mStats;
};

}  // namespace zstats
