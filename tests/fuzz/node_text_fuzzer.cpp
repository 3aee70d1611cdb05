// One text as the content of every node, and as usage records, one a line.

#include <map>
#include <memory>
#include <stdexcept>

#include "atoms/AudioUsageAtoms.h"
#include "atoms/CpuAtoms.h"
#include "atoms/MemoryStorageAtoms.h"
#include "daemon/ZStatsPullAtomCallback.h"
#include "daemon/base/TextLines.h"
#include "tests/fuzz/FuzzKit.h"

using namespace zstats;
using namespace zstats::fuzz;

namespace {

/** Shows one text as both nodes; the second reading has one line more than the first. */
struct TextGpu : GpuStats {
    explicit TextGpu(std::string shown) : text(std::move(shown)) {}
    void readFreqsKhz(std::vector<int>& out) override {
        parseQcomGpuFreqsKhz(text, out);
        parseMtkGpuFreqsKhz(text, out);
    }
    void readFreqsTime(std::vector<long long>& out) override {
        parseMtkGpuFreqsTime(text, out);
        text += "\nf 1 2\n";
    }

    std::string text;
};

/** The events that `append` makes, until a number that it refuses by std::out_of_range. */
template <typename Append>
std::vector<ReadEvent> eventsUntilThrown(Append append) {
    AStatsEventList list;
    try {
        append(&list);
    } catch (const std::out_of_range&) {
    }
    return eventsOf(list);
}

void readKeyValues(const std::string& text) {
    static auto* const callback = new ZStatsPullAtomCallback;
    KeyValueMap map = callback->parseKeyValueFromContent(text);
    require(map.empty() == (text.find(':') == std::string::npos));
    for (const auto& [key, value] : KeyValueMap(map)) {
        require(!value.empty() && text.find(value) != std::string::npos);
        require(key.find_first_of(":\n") == std::string::npos);
        callback->getValueByKey(map, key);
    }
}

void readUsage(const std::string& text) {
    std::vector<UahRecord> records;
    forEachLine(text, [&](std::string_view line) { records.push_back({0, std::string(line)}); });
    const auto events = eventsUntilThrown([&](auto* list) { appendUahEvents(records, 1, list); });
    require(events.size() <= records.size());
    for (const auto& event : events) {
        // An unbuilt event ends the pull, and nothing else does.
        require(event.fields.size() == 17 || (&event == &events.back() && !event.built));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const LogCapture quiet;
    const std::string text = textOf(data, size);
    std::map<int32_t, int64_t> lastMs;
    for (int pull = 0; pull < 2; ++pull) {
        const auto events = eventsUntilThrown(
                [&](auto* list) { appendDdrResidencyEvents(text, lastMs, 1, list); });
        for (const auto& event : events) require(event.valid());
        require(lastMs.size() <= events.size());
    }
    const auto words =
            eventsUntilThrown([&](auto* list) { appendPerfSchedinfoEvents(text, 1, list); });
    require(words.size() <= 10);
    for (const auto& event : words) require(event.valid() && event.fields.size() == 7);
    eventsUntilThrown([&](auto*) { readKeyValues(text); });
    readUsage(text);
    GpuReader reader(std::make_shared<TextGpu>(text));
    reader.getGpuFreqsKhz();
    const size_t first = reader.getGpuFreqsTimeDelta().size();
    require(reader.getGpuFreqsTimeDelta().size() == first);
    return 0;
}
