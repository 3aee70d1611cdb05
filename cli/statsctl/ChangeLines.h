#pragma once

#include <map>
#include <string>
#include <vector>

#include "cli/statsctl/AtomSeries.h"

namespace zstats::cli {

/** What changes in a stream, as lines of text. Not thread-safe. */
class ChangeLines {
  public:
    /**
     * The lines of one message: for each sample that differs from the one before, seconds since
     * boot, series, value and unit; for each pushed atom, its name and fields.
     */
    std::vector<std::string> add(const std::vector<StreamedAtom>& atoms);

  private:
    AtomSeries mSeries;
    std::map<size_t, std::string> mTexts;  // the latest value by series
};

}  // namespace zstats::cli
