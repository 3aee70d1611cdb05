// The daemon's parsers of texts of the kernel and the vendor's services.

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <stdexcept>
#include <utility>

#include "atoms/ActivityWakeUpSourceAtom.h"
#include "atoms/AudioUsageAtoms.h"
#include "atoms/CpuAtoms.h"
#include "atoms/MemoryStorageAtoms.h"
#include "daemon/base/Numbers.h"
#include "daemon/base/SystemHelpers.h"
#include "daemon/base/TextLines.h"
#include "readers/GpuReader.h"
#include "sources/NodeContent.h"
#include "tests/fuzz/FuzzTarget.h"
#include "tests/support/TempTree.h"

using namespace zstats;
using namespace zstats::fuzz;

namespace {

/** Serves one text as the frequency table, two more as the first and the later readings. */
template <auto ParseFreqs, auto ParseTimes>
struct TextGpu : GpuStats {
    explicit TextGpu(std::string_view input) : texts(partsOf(input, 3)) {}
    void readFreqsKhz(std::vector<int>& out) override { ParseFreqs(texts[0], out); }
    void readFreqsTime(std::vector<long long>& out) override {
        ParseTimes(texts[std::exchange(reading, 2)], out);
    }
    const std::vector<std::string> texts;
    size_t reading = 1;
};

void readGpu(const std::shared_ptr<GpuStats>& gpu) {
    GpuReader reader(gpu);
    const size_t first = reader.getGpuFreqsTimeDelta().size();
    require(reader.getGpuFreqsTimeDelta().size() == first);
    require(reader.getGpuFreqsKhz() == reader.getGpuFreqsKhz());
}

void splitTimes(const std::string& content, std::vector<long long>& out) {
    splitString(content.c_str(), " \t\n", &out);
}

}  // namespace

FUZZ_TARGET(key_values) {
    bool hasBlankValue = false;
    forEachLine(input, [&](std::string_view line) {
        const size_t colon = line.find(':');
        if (colon == std::string_view::npos) return;
        hasBlankValue |= line.find_first_not_of(" \r\t", colon + 1) == std::string_view::npos;
    });
    KeyValueMap map;
    const bool thrown = throws<std::out_of_range>(
            [&] { map = nodes::parseKeyValueFromContent(std::string(input)); });
    require(thrown == hasBlankValue);
    for (const auto& [key, value] : map) {
        require(input.find(value) != std::string_view::npos);
        require(nodes::getValueByKey(map, key) == atoi(value.c_str()));
    }
}

FUZZ_TARGET(integers) {
    const auto parts = partsOf(input, 2);
    std::vector<int> ints;
    std::vector<long long> longs;
    require(splitString(parts[0].c_str(), parts[1].c_str(), &ints) == 0);
    require(splitString(parts[0].c_str(), parts[1].c_str(), &longs) == 0);
    require(ints.size() == longs.size());
    require(leadingInt64(input) == strtoll(parts[0].c_str(), nullptr, 10));
    require(leadingInt32(input) == atoi(parts[0].c_str()));
}

FUZZ_TARGET(gpu_qcom) {
    readGpu(std::make_shared<TextGpu<parseQcomGpuFreqsKhz, splitTimes>>(input));
}

FUZZ_TARGET(gpu_mtk) {
    readGpu(std::make_shared<TextGpu<parseMtkGpuFreqsKhz, parseMtkGpuFreqsTime>>(input));
}

FUZZ_TARGET(ddr_lines) {
    std::map<int32_t, int64_t> lastMs;
    for (const std::string& text : partsOf(input, 2)) {
        AStatsEventList list;
        throws<std::out_of_range>([&] { appendDdrResidencyEvents(text, lastMs, 1, &list); });
        for (const auto& event : eventsOf(list)) {
            require(event.valid() && lastMs.count(std::get<int32_t>(event.fields[0])) == 1);
        }
    }
}

FUZZ_TARGET(cpu_range) {
    static const TempTree tree;
    const auto parts = partsOf(input, 2);
    tree.write("cpu1/cpuidle/state0/time", parts[1]);
    AStatsEventList list;
    throws<std::invalid_argument, std::out_of_range>(
            [&] { appendCpuIdleEvents(tree.path("cpu"), 2, parts[0], 1, &list); });
    const size_t count = eventsOf(list).size();
    require(count <= 24'000 && (parts[0].find('-') != std::string::npos || count == 0));
}

FUZZ_TARGET(scheduling_words) {
    AStatsEventList list;
    throws<std::out_of_range>([&] { appendPerfSchedinfoEvents(std::string(input), 1, &list); });
    const auto events = eventsOf(list);
    require(events.size() <= 10);
    for (const auto& event : events) require(event.valid() && event.fields.size() == 7);
}

FUZZ_TARGET(usage_records) {
    std::vector<UahRecord> records;
    forEachLine(input, [&](std::string_view line) { records.push_back({0, std::string(line)}); });
    AStatsEventList list;
    appendUahEvents(records, 1, &list);
    const auto events = eventsOf(list);
    require(events.size() <= records.size() && events.empty() == records.empty());
    for (const auto& event : events) {
        // Only an unbuilt event ends the pull.
        require(event.built || &event == &events.back());
        require(!event.built || event.fields.size() == 17 || event.errors != 0);
    }
}

FUZZ_TARGET(wakeup_attributes) {
    static const TempTree tree;
    const auto parts = partsOf(input, 4);
    constexpr const char* kFiles[] = {"active_time_ms", "name", "max_time_ms", "event_count"};
    for (size_t i = 0; i < parts.size(); ++i) {
        tree.write(std::string("wakeup0/") + kFiles[i], parts[i]);
    }
    std::vector<WakeLockInfo> infos;
    getWakeLockStatsAt(tree.path("").c_str(), &infos);
    AStatsEventList list;
    appendWakeLockEvents(infos, 1, &list);
    require(eventsOf(list).size() == infos.size() && infos.size() <= 1);
    for (const auto& info : infos) {
        require(info.activeTime >= 1 && info.isActive && info.name.find('\n') == std::string::npos);
    }
}

FUZZ_TARGET(mem_total) {
    static const TempTree tree;
    tree.write("meminfo", std::string(input));
    const bool enough = checkMemTotalOkAt(tree.path("meminfo").c_str(), 4194304);
    require(!enough || input.find("MemTotal") != std::string_view::npos);
}
