#include <android-base/file.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>

#include "cli/lib/atoms/AtomText.h"
#include "cli/lib/atoms/StatsReport.h"
#include "cli/statsctl/CsvFolder.h"
#include "cli/statsctl/Statsctl.h"

namespace zstats::cli {
namespace {

constexpr double kNsPerSecond = 1e9;

/** The fields of an event in the order of their numbers, with names and units. */
std::string fieldsText(const RecordedEvent& event) {
    const AtomInfo& info = atomInfo(event.id);
    std::string out;
    for (const auto& [number, value] : event.fields) {
        const auto index = static_cast<size_t>(number - 1);
        const std::string unit = info.unitOf(index);
        out += (out.empty() ? "" : ", ") + info.fieldName(index) + " " + valueText(value) +
               (unit.empty() ? "" : " " + unit);
    }
    return out;
}

void printText(const StatsReport& report) {
    printf("report of %.3f s to %.3f s since boot%s%s\n", report.beginElapsedNs / kNsPerSecond,
           report.endElapsedNs / kNsPerSecond, report.endWallNs == 0 ? "" : ", made at ",
           report.endWallNs == 0 ? "" : timeText(report.endWallNs).c_str());
    std::map<int32_t, std::vector<const RecordedEvent*>> byAtom;
    for (const RecordedEvent& event : report.events) byAtom[event.id].push_back(&event);
    for (const auto& [id, events] : byAtom) {
        printf("%d  %s\n", id, atomInfo(id).name.c_str());
        for (const RecordedEvent* event : events) {
            printf("%12.3f s  %s\n", event->elapsedNs / kNsPerSecond, fieldsText(*event).c_str());
        }
    }
    for (const EmptyMetric& metric : report.empty) {
        printf("metric %lld: %s\n", static_cast<long long>(metric.id), metric.reason.c_str());
    }
}

void printJson(const StatsReport& report, bool units) {
    RecordingHeader header;
    header.source = "report";
    header.elapsedNs = report.endElapsedNs;
    header.wallNs = report.endWallNs;
    puts(jsonHeader(header).c_str());
    for (const RecordedEvent& event : report.events) puts(jsonRecorded(event, "", units).c_str());
}

int writeCsv(const StatsReportList& list, const std::string& path) {
    CsvFolder folder("statsctl report", path);
    if (!folder.open()) return kExitFailed;
    for (const StatsReport& report : list.reports) {
        for (const RecordedEvent& event : report.events) {
            if (!folder.add(event)) return kExitFailed;
        }
    }
    return kExitOk;
}

}  // namespace

int reportCommand(Statsd&, const CommandArguments& arguments) {
    std::string bytes;
    const bool isInput = arguments.files[0] == "-";
    if (isInput ? !android::base::ReadFdToString(0, &bytes)
                : !android::base::ReadFileToString(arguments.files[0], &bytes)) {
        fprintf(stderr, "statsctl report: %s: %s\n", arguments.files[0].c_str(), strerror(errno));
        return kExitFailed;
    }
    const auto list = parseStatsReports(bytes);
    if (!list || list->reports.empty()) {
        fprintf(stderr, "statsctl report: %s: %s\n", arguments.files[0].c_str(),
                list ? "holds no report" : "is no encoded ConfigMetricsReportList");
        return kExitFailed;
    }
    if (!arguments.csv.empty()) return writeCsv(*list, arguments.csv);
    if (!arguments.json) {
        printf("configuration %lld of uid %d\n", static_cast<long long>(list->configId), list->uid);
    }
    for (const StatsReport& report : list->reports) {
        if (arguments.json) {
            printJson(report, arguments.units);
        } else {
            printText(report);
        }
    }
    return kExitOk;
}

}  // namespace zstats::cli
