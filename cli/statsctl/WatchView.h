#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "cli/statsctl/AtomSeries.h"

namespace zstats::cli {

/**
 * Streamed atoms as a page of text: for each series a line with its value, unit, change over the
 * last minute and spark line, or a bar for a residency. Not thread-safe.
 */
class WatchView {
  public:
    /** Adds the atoms of one message, with the time since boot. */
    void add(const std::vector<StreamedAtom>& atoms, int64_t uptimeMs);

    /**
     * At most `height` lines of at most `width` characters, with a heading. To fit, it leaves out,
     * in this order, graphs, changes, beginnings of names, and lines; the last line then has the
     * number of missing lines.
     */
    std::vector<std::string> page(size_t width, size_t height) const;

    /** A line for each sample of the last message that has changed: seconds since boot, name, value
     * and unit. */
    const std::vector<std::string>& news() const { return mNews; }

  private:
    struct Point {
        int64_t timestampNs = 0;
        double value = 0;
    };
    struct History {
        std::deque<Point> points;  // of the last minute, oldest first
        std::string text;          // the latest value
    };
    struct Columns;

    void keep(const Sample& sample);
    std::string row(size_t series, const Columns& columns) const;
    std::string picture(size_t series, size_t width) const;
    double shareOf(size_t series) const;
    std::vector<size_t> order() const;

    AtomSeries mSeries;
    std::map<size_t, History> mHistories;  // by series
    std::vector<std::string> mNews;
    std::string mLastPushed;
    int64_t mUptimeMs = 0;
};

}  // namespace zstats::cli
