#include "cli/lib/atoms/StatsReport.h"

#include <algorithm>

#include "cli/lib/atoms/AtomMessage.h"
#include "proto/zstats_report.pb.h"

namespace zstats::cli {
namespace {

using atoms::DimensionsValue;

/** A dimension's value, in the field's type. */
AtomValue dimensionValue(const DimensionsValue& value) {
    switch (value.value_case()) {
        case DimensionsValue::kValueStr:
            return value.value_str();
        case DimensionsValue::kValueInt:
            return value.value_int();
        case DimensionsValue::kValueLong:
            return static_cast<int64_t>(value.value_long());
        case DimensionsValue::kValueBool:
            return value.value_bool();
        case DimensionsValue::kValueFloat:
            return value.value_float();
        case DimensionsValue::kValueStrHash:
            return hashedString(value.value_str_hash());
        default:
            return std::string();
    }
}

/** A metric's dimensions: numbers of the fields that statsd moved out of the atom. */
std::vector<int> dimensionFields(const DimensionsValue& path) {
    std::vector<int> numbers;
    for (const DimensionsValue& child : path.value_tuple().dimensions_value()) {
        numbers.push_back(child.field());
    }
    return numbers;
}

/** Reads the metrics of one report. */
class Reader {
  public:
    Reader(const atoms::ConfigMetricsReport& report, StatsReport* out) : mOut(out) {
        out->beginElapsedNs = report.last_report_elapsed_nanos();
        out->endElapsedNs = report.current_report_elapsed_nanos();
        out->endWallNs = report.current_report_wall_clock_nanos();
        for (const atoms::StatsLogReport& metric : report.metrics()) read(metric);
        std::stable_sort(out->events.begin(), out->events.end(),
                         [](const RecordedEvent& a, const RecordedEvent& b) {
                             return a.elapsedNs < b.elapsedNs;
                         });
    }

  private:
    using Dimensions = std::multimap<int, AtomValue>;

    void read(const atoms::StatsLogReport& metric) {
        const size_t before = mOut->events.size();
        for (const auto& data : metric.event_metrics().data()) readEvent(data);
        for (const auto& data : metric.gauge_metrics().data()) {
            const Dimensions dimensions = dimensionsOf(metric, data);
            for (const auto& bucket : data.bucket_info()) readBucket(bucket, dimensions);
        }
        if (mOut->events.size() == before) noteEmpty(metric);
    }

    void readEvent(const atoms::EventMetricData& data) {
        if (data.has_atom()) add(data.atom(), data.elapsed_timestamp_nanos(), {});
        if (data.has_aggregated_atom_info()) readAggregated(data.aggregated_atom_info(), {});
    }

    void readBucket(const atoms::GaugeBucketInfo& bucket, const Dimensions& dimensions) {
        for (int i = 0; i < bucket.atom_size(); ++i) {
            const bool timed = i < bucket.elapsed_timestamp_nanos_size();
            add(bucket.atom(i), timed ? bucket.elapsed_timestamp_nanos(i) : 0, dimensions);
        }
        for (const auto& atom : bucket.aggregated_atom_info()) readAggregated(atom, dimensions);
    }

    void readAggregated(const atoms::AggregatedAtomInfo& info, const Dimensions& dimensions) {
        for (const int64_t time : info.elapsed_timestamp_nanos()) {
            add(info.atom(), time, dimensions);
        }
    }

    static Dimensions dimensionsOf(const atoms::StatsLogReport& metric,
                                   const atoms::GaugeMetricData& data) {
        Dimensions dimensions;
        const std::vector<int> numbers = dimensionFields(metric.dimensions_path_in_what());
        const auto& leaves = data.dimension_leaf_values_in_what();
        for (size_t i = 0; i < numbers.size() && i < static_cast<size_t>(leaves.size()); ++i) {
            dimensions.emplace(numbers[i], dimensionValue(leaves.Get(static_cast<int>(i))));
        }
        for (const auto& value : data.dimensions_in_what().value_tuple().dimensions_value()) {
            dimensions.emplace(value.field(), dimensionValue(value));
        }
        return dimensions;
    }

    void add(const atoms::Atom& atom, int64_t elapsedNs, const Dimensions& dimensions) {
        RecordedEvent event;
        static_cast<AtomMessage&>(event) = readAtomMessage(atom);
        event.elapsedNs = elapsedNs;
        if (mOut->endWallNs != 0) event.wallNs = mOut->endWallNs - mOut->endElapsedNs + elapsedNs;
        event.fields.insert(dimensions.begin(), dimensions.end());
        mOut->events.push_back(std::move(event));
    }

    void noteEmpty(const atoms::StatsLogReport& metric) {
        std::string reason;
        for (const auto& skipped : metric.gauge_metrics().skipped()) {
            for (const auto& drop : skipped.drop_event()) {
                reason = atoms::SkippedBuckets::Reason_Name(drop.drop_reason());
            }
        }
        const bool other = metric.data_case() != atoms::StatsLogReport::kEventMetrics &&
                           metric.data_case() != atoms::StatsLogReport::kGaugeMetrics &&
                           metric.data_case() != atoms::StatsLogReport::DATA_NOT_SET;
        if (reason.empty()) reason = other ? "holds sums, and no atom" : "no data";
        mOut->empty.push_back({metric.metric_id(), reason});
    }

    StatsReport* const mOut;
};

}  // namespace

std::optional<StatsReportList> parseStatsReports(std::string_view bytes) {
    atoms::ConfigMetricsReportList list;
    if (!list.ParseFromArray(bytes.data(), static_cast<int>(bytes.size()))) return std::nullopt;
    StatsReportList result;
    result.uid = list.config_key().uid();
    result.configId = list.config_key().id();
    for (const atoms::ConfigMetricsReport& report : list.reports()) {
        Reader(report, &result.reports.emplace_back());
    }
    return result;
}

}  // namespace zstats::cli
