// The GPU's frequency table and its times, in the layouts of both chip vendors.

#include <memory>

#include "readers/GpuReader.h"
#include "tests/fuzz/FuzzKit.h"

namespace {

/** Shows one text as both nodes. */
struct TextGpu : zstats::GpuStats {
    explicit TextGpu(std::string shown) : text(std::move(shown)) {}
    void readFreqsKhz(std::vector<int>& out) override {
        zstats::parseQcomGpuFreqsKhz(text, out);
        zstats::parseMtkGpuFreqsKhz(text, out);
    }
    void readFreqsTime(std::vector<long long>& out) override {
        zstats::parseMtkGpuFreqsTime(text, out);
        text += "\nf 1 2\n";
    }

    std::string text;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const zstats::LogCapture quiet;
    zstats::GpuReader reader(std::make_shared<TextGpu>(zstats::fuzz::textOf(data, size)));
    reader.getGpuFreqsKhz();
    // The second reading has one line more, so that both ways through the differences are taken.
    const size_t first = reader.getGpuFreqsTimeDelta().size();
    zstats::fuzz::require(reader.getGpuFreqsTimeDelta().size() == first);
    return 0;
}
