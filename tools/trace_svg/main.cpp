#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/lib/CommandLine.h"
#include "proto/perfetto_trace.pb.h"

namespace {

constexpr char kUsage[] =
        "usage: trace_svg TRACE [NAME...]\n"
        "Draws counter tracks of a trace as an SVG picture, one below the other over one axis of "
        "time,\n"
        "on standard output. Without the name of a track it lists them.\n";

using zstats::perfetto::Trace;
using zstats::perfetto::TracePacket;
using zstats::perfetto::TrackEvent;

struct Point {
    double seconds = 0;
    double value = 0;
};

struct Track {
    std::string name;
    std::string unit;
    std::vector<Point> points;
};

// In pixels.
constexpr int kWidth = 900;
constexpr int kLeft = 290;
constexpr int kRight = 90;
constexpr int kRowHeight = 56;
constexpr int kRowGap = 10;
constexpr int kTop = 14;
constexpr int kAxis = 30;
constexpr const char* kColours[] = {"#1a73e8", "#d93025", "#188038",
                                    "#e37400", "#9334e6", "#00796b"};

constexpr double kNsInSecond = 1e9;

Trace load(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error(path + ": cannot be read");
    Trace trace;
    // A recording that was broken off ends in the middle of a packet; what came before it is there.
    if (!trace.ParseFromIstream(&file) && trace.packet_size() == 0) {
        throw std::runtime_error(path + ": is no trace");
    }
    return trace;
}

/** The counter tracks in the order of their description. */
std::vector<Track> tracksOf(const Trace& trace) {
    std::vector<Track> tracks;
    std::map<uint64_t, size_t> byUuid;
    for (const TracePacket& packet : trace.packet()) {
        if (packet.has_track_descriptor() && packet.track_descriptor().has_counter()) {
            const auto& track = packet.track_descriptor();
            byUuid[track.uuid()] = tracks.size();
            tracks.push_back({track.name(), track.counter().unit_name(), {}});
        } else if (packet.has_track_event() &&
                   packet.track_event().type() == TrackEvent::TYPE_COUNTER) {
            const TrackEvent& event = packet.track_event();
            const auto found = byUuid.find(event.track_uuid());
            if (found == byUuid.end()) continue;
            const double value = event.has_counter_value()
                                         ? static_cast<double>(event.counter_value())
                                         : event.double_counter_value();
            tracks[found->second].points.push_back(
                    {static_cast<double>(packet.timestamp()) / kNsInSecond, value});
        }
    }
    return tracks;
}

std::string escaped(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == '&') {
            out += "&amp;";
        } else if (c == '<') {
            out += "&lt;";
        } else {
            out += c;
        }
    }
    return out;
}

struct Span {
    double begin = 0;
    double end = 0;

    double x(double seconds) const {
        const double room = kWidth - kLeft - kRight;
        return kLeft + (end > begin ? (seconds - begin) / (end - begin) * room : 0);
    }
};

Span spanOf(const std::vector<Track>& tracks) {
    Span span = {1e300, -1e300};
    for (const Track& track : tracks) {
        for (const Point& point : track.points) {
            span.begin = std::min(span.begin, point.seconds);
            span.end = std::max(span.end, point.seconds);
        }
    }
    return span;
}

/** A value holds until the next one: a line of steps. */
std::string steps(const Track& track, const Span& span, int top, double low, double high) {
    const auto y = [&](double value) {
        const double share = high > low ? (value - low) / (high - low) : 0.5;
        return top + kRowHeight - share * kRowHeight;
    };
    std::ostringstream out;
    out << "M" << span.x(track.points.front().seconds) << " " << y(track.points.front().value);
    for (const Point& point : track.points) {
        out << "H" << span.x(point.seconds) << "V" << y(point.value);
    }
    out << "H" << span.x(span.end);
    return out.str();
}

void drawTrack(const Track& track, const Span& span, int top, const char* colour) {
    const auto [low, high] =
            std::minmax_element(track.points.begin(), track.points.end(),
                                [](const Point& a, const Point& b) { return a.value < b.value; });
    printf("<rect x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\" fill=\"#f6f8fa\"/>\n", kLeft, top,
           kWidth - kLeft - kRight, kRowHeight);
    printf("<text x=\"%d\" y=\"%d\" text-anchor=\"end\">%s</text>\n", kLeft - 10,
           top + kRowHeight / 2 + 4, escaped(track.name).c_str());
    printf("<path d=\"%s\" fill=\"none\" stroke=\"%s\" stroke-width=\"1.5\"/>\n",
           steps(track, span, top, low->value, high->value).c_str(), colour);
    const int right = kWidth - kRight + 6;
    printf("<text x=\"%d\" y=\"%d\">%.6g %s</text>\n", right, top + 11, high->value,
           escaped(track.unit).c_str());
    if (high->value > low->value) {
        printf("<text x=\"%d\" y=\"%d\">%.6g</text>\n", right, top + kRowHeight - 1, low->value);
    }
}

void drawAxis(const Span& span, int top) {
    const double length = span.end - span.begin;
    double step = 1;
    for (const double each : {1.0, 2.0, 5.0, 10.0, 20.0, 60.0, 120.0, 300.0, 600.0}) {
        step = each;
        if (length / each <= 12) break;
    }
    for (int i = 0; i * step <= length; ++i) {
        const double mark = i * step;
        printf("<text x=\"%.1f\" y=\"%d\" text-anchor=\"middle\">%g s</text>\n",
               span.x(span.begin + mark), top + 14, mark);
    }
}

void draw(const std::vector<Track>& tracks) {
    const Span span = spanOf(tracks);
    const int rows = static_cast<int>(tracks.size());
    const int height = kTop + rows * (kRowHeight + kRowGap) + kAxis;
    printf("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %d %d\" "
           "font-family=\"sans-serif\" font-size=\"12\">\n",
           kWidth, height);
    printf("<rect width=\"%d\" height=\"%d\" fill=\"white\"/>\n", kWidth, height);
    for (int i = 0; i < rows; ++i) {
        drawTrack(tracks[static_cast<size_t>(i)], span, kTop + i * (kRowHeight + kRowGap),
                  kColours[static_cast<size_t>(i) % std::size(kColours)]);
    }
    drawAxis(span, kTop + rows * (kRowHeight + kRowGap));
    puts("</svg>");
}

/** The tracks of these names; throws std::runtime_error for a name that none with a value has. */
std::vector<Track> chosen(const std::vector<Track>& tracks, const std::vector<std::string>& names) {
    std::vector<Track> result;
    for (const std::string& name : names) {
        const auto found = std::find_if(tracks.begin(), tracks.end(), [&](const Track& track) {
            return track.name == name && !track.points.empty();
        });
        if (found == tracks.end()) throw std::runtime_error("no track '" + name + "'");
        result.push_back(*found);
    }
    return result;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> words;
    zstats::cli::CommandLine line("trace_svg", kUsage);
    if (const auto ended = line.read(argc, argv, &words)) return *ended;
    if (words.empty()) return line.complain("wants TRACE");
    try {
        const std::vector<Track> tracks = tracksOf(load(words[0]));
        if (words.size() == 1) {
            for (const Track& track : tracks) puts(track.name.c_str());
        } else {
            draw(chosen(tracks, {words.begin() + 1, words.end()}));
        }
    } catch (const std::runtime_error& error) {
        fprintf(stderr, "trace_svg: %s\n", error.what());
        return 1;
    }
    return fflush(stdout) == 0 ? 0 : 1;
}
