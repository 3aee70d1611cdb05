#include "cli/statsctl/ChangeLines.h"

#include <android-base/stringprintf.h>

#include <cmath>

#include "cli/lib/atoms/AtomText.h"

namespace zstats::cli {
namespace {

using android::base::StringPrintf;

/** Integers as they are, others with three digits behind the point. */
std::string textOf(const Sample& sample) {
    if (const auto* whole = std::get_if<int64_t>(&sample.value)) return std::to_string(*whole);
    const double value = std::get<double>(sample.value);
    return StringPrintf("%.*f", value == std::floor(value) && std::fabs(value) < 1e15 ? 0 : 3,
                        value);
}

}  // namespace

std::vector<std::string> ChangeLines::add(const std::vector<StreamedAtom>& atoms) {
    std::vector<std::string> lines;
    for (const Sample& sample : mSeries.add(atoms)) {
        const std::string text = textOf(sample);
        if (std::exchange(mTexts[sample.series], text) == text) continue;
        const Series& series = mSeries.all()[sample.series];
        lines.push_back(StringPrintf("%.3f  ", static_cast<double>(sample.timestampNs) / 1e9) +
                        series.name + "  " + text + (series.unit.empty() ? "" : " " + series.unit));
    }
    for (const StreamedAtom& atom : atoms) {
        const AtomInfo& info = atomInfo(atom.id);
        if (info.pushed) lines.push_back(info.name + "  " + eventText(atom.id, atom.fields));
    }
    return lines;
}

}  // namespace zstats::cli
