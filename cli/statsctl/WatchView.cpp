#include "cli/statsctl/WatchView.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "cli/lib/atoms/AtomText.h"
#include "cli/lib/atoms/TextColumns.h"

namespace zstats::cli {
namespace {

constexpr int64_t kMinuteNs = 60'000'000'000;
constexpr size_t kValueWidth = 12;
constexpr size_t kUnitWidth = 6;
constexpr size_t kChangeWidth = 10;
constexpr size_t kGap = 2;
constexpr size_t kMaxPicture = 30;  // two seconds for each character
constexpr size_t kMinPicture = 8;
constexpr size_t kMinName = 16;
constexpr const char* kSparks[] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};

/** Short text of a value: integers, and others with three decimals. */
std::string numberText(double value) {
    char text[40];
    if (value == std::floor(value) && std::fabs(value) < 1e15) {
        snprintf(text, sizeof(text), "%.0f", value);
    } else {
        snprintf(text, sizeof(text), "%.3f", value);
    }
    return text;
}

double real(const Sample& sample) {
    return std::visit([](auto value) { return static_cast<double>(value); }, sample.value);
}

std::string valueTextOf(const Sample& sample) {
    if (const auto* whole = std::get_if<int64_t>(&sample.value)) return std::to_string(*whole);
    return numberText(std::get<double>(sample.value));
}

}  // namespace

/** The widths of a page's columns; 0 for one that is left out. */
struct WatchView::Columns {
    size_t name = 0;
    size_t change = 0;
    size_t picture = 0;

    Columns(size_t width, size_t longestName) {
        const size_t fixed = kGap + kValueWidth + 1 + kUnitWidth;
        const size_t room = width > fixed ? width - fixed : 0;
        name = std::min(std::max(longestName, kMinName), std::max(room, size_t{1}));
        size_t left = room > name ? room - name : 0;
        if (left >= kGap + kChangeWidth) {
            change = kChangeWidth;
            left -= kGap + kChangeWidth;
        }
        if (change > 0 && left >= kGap + kMinPicture) picture = std::min(left - kGap, kMaxPicture);
    }
};

void WatchView::keep(const Sample& sample) {
    History& history = mHistories[sample.series];
    const std::string text = valueTextOf(sample);
    if (history.text != text) {
        char seconds[32];
        snprintf(seconds, sizeof(seconds), "%.3f", static_cast<double>(sample.timestampNs) / 1e9);
        const Series& series = mSeries.all()[sample.series];
        mNews.push_back(std::string(seconds) + "  " + series.name + "  " + text +
                        (series.unit.empty() ? "" : " " + series.unit));
    }
    history.text = text;
    history.points.push_back({sample.timestampNs, real(sample)});
    while (sample.timestampNs - history.points.front().timestampNs > kMinuteNs) {
        history.points.pop_front();
    }
}

void WatchView::add(const std::vector<StreamedAtom>& atoms, int64_t uptimeMs) {
    mUptimeMs = uptimeMs;
    mNews.clear();
    for (const Sample& sample : mSeries.add(atoms)) keep(sample);
    for (const StreamedAtom& atom : atoms) {
        const AtomInfo& info = atomInfo(atom.id);
        if (!info.pushed) continue;
        mLastPushed = info.name + "  " + eventText(atom.id, atom.fields);
        mNews.push_back(mLastPushed);
    }
}

double WatchView::shareOf(size_t series) const {
    const Series& about = mSeries.all()[series];
    double whole = 0;
    if (about.shareOf == ShareOf::kUptime) whole = static_cast<double>(mUptimeMs);
    for (const auto& [index, history] : mHistories) {
        const Series& other = mSeries.all()[index];
        if (about.shareOf == ShareOf::kPull && other.atomId == about.atomId) {
            whole += std::max(history.points.back().value, 0.0);
        }
    }
    const double part = std::max(mHistories.at(series).points.back().value, 0.0);
    return whole > 0 ? std::min(part / whole, 1.0) : 0;
}

/** A bar for a residency, a spark line of the last minute for other values. */
std::string WatchView::picture(size_t series, size_t width) const {
    std::string out;
    if (mSeries.all()[series].shareOf != ShareOf::kNothing) {
        const auto filled =
                static_cast<size_t>(std::lround(shareOf(series) * static_cast<double>(width)));
        return std::string(filled, '#') + std::string(width - filled, '.');
    }
    const std::deque<Point>& points = mHistories.at(series).points;
    const auto [low, high] =
            std::minmax_element(points.begin(), points.end(),
                                [](const Point& a, const Point& b) { return a.value < b.value; });
    const double range = high->value - low->value;
    const int64_t end = points.back().timestampNs;
    // A character shows the value at its end; those before the first value are blank.
    for (size_t i = 0; i < width; ++i) {
        const auto age =
                static_cast<int64_t>(width - 1 - i) * kMinuteNs / static_cast<int64_t>(width);
        const auto after = std::upper_bound(
                points.begin(), points.end(), end - age,
                [](int64_t time, const Point& point) { return time < point.timestampNs; });
        if (after == points.begin()) {
            out += ' ';
            continue;
        }
        const double value = std::prev(after)->value;
        const double height = range > 0 ? (value - low->value) / range : 0;
        out += kSparks[static_cast<size_t>(std::lround(height * (std::size(kSparks) - 1)))];
    }
    return out;
}

std::string WatchView::row(size_t series, const Columns& columns) const {
    const Series& about = mSeries.all()[series];
    const History& history = mHistories.at(series);
    std::string out = padded(cutFront(about.name, columns.name), columns.name, false) +
                      std::string(kGap, ' ') + padded(history.text, kValueWidth, true) + " " +
                      padded(about.unit, kUnitWidth, false);
    if (columns.change > 0) {
        const double change = history.points.back().value - history.points.front().value;
        const std::string text = (change > 0 ? "+" : "") + numberText(change);
        out += std::string(kGap, ' ') + padded(text, columns.change, true);
    }
    if (columns.picture > 0) out += std::string(kGap, ' ') + picture(series, columns.picture);
    return out.substr(0, out.find_last_not_of(' ') + 1);
}

/** By atom, and within an atom in the order of appearance. */
std::vector<size_t> WatchView::order() const {
    std::vector<size_t> indexes;
    for (const auto& [index, history] : mHistories) indexes.push_back(index);
    std::stable_sort(indexes.begin(), indexes.end(), [this](size_t a, size_t b) {
        return mSeries.all()[a].atomId < mSeries.all()[b].atomId;
    });
    return indexes;
}

std::vector<std::string> WatchView::page(size_t width, size_t height) const {
    const std::vector<size_t> indexes = order();
    size_t longest = 0;
    for (size_t index : indexes) longest = std::max(longest, textWidth(mSeries.all()[index].name));
    const Columns columns(width, longest);

    std::string heading = padded(cut("field", columns.name), columns.name, false) +
                          std::string(kGap, ' ') + padded("value", kValueWidth, true) + " " +
                          padded("unit", kUnitWidth, false);
    if (columns.change > 0) heading += "  " + padded("in 60 s", columns.change, true);
    if (columns.picture > 0) heading += "  graph";
    heading.erase(heading.find_last_not_of(' ') + 1);
    std::vector<std::string> lines = {cut(heading, width)};

    const size_t below = mLastPushed.empty() ? 0 : 1;
    const size_t room = height > lines.size() + below ? height - lines.size() - below : 0;
    const bool all = indexes.size() <= room;
    const size_t shown = all ? indexes.size() : room > 0 ? room - 1 : 0;
    for (size_t i = 0; i < shown; ++i) lines.push_back(cut(row(indexes[i], columns), width));
    if (!all && room > 0) {
        lines.push_back(cut(std::to_string(indexes.size() - shown) +
                                    " more fields; name the atoms that you want to see",
                            width));
    }
    if (below > 0 && lines.size() < height) lines.push_back(cut(mLastPushed, width));
    return lines;
}

}  // namespace zstats::cli
