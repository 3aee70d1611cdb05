#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "cli/statsctl/AtomSeries.h"

namespace zstats::cli {

/**
 * Streamed atoms as a page of text that is drawn anew: a line for each series with its value, unit,
 * change over the last minute and a spark line of it; a bar for a residency. Not thread-safe.
 */
class WatchView {
  public:
    /** The atoms of one message of the stream, and how long the device is up. */
    void add(const std::vector<StreamedAtom>& atoms, int64_t uptimeMs);

    /**
     * At most `height` lines of at most `width` characters, the first a heading. What does not fit
     * goes in this order: graphs, changes, beginnings of names; then lines, and the last line says
     * how many.
     */
    std::vector<std::string> page(size_t width, size_t height) const;

    /** A line for each sample of the latest message that differs from the one before: seconds since
     * boot, name, value and unit. */
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
