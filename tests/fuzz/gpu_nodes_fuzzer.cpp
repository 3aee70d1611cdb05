// The GPU's frequency table and its times, in the layouts of both chip vendors.

#include <memory>
#include <string>
#include <vector>

#include "readers/GpuReader.h"
#include "tests/support/LogCapture.h"

namespace {

/** Shows one text as both nodes. */
class TextGpu : public zstats::GpuStats {
  public:
    explicit TextGpu(std::string text) : mText(std::move(text)) {}
    void readFreqsKhz(std::vector<int>& out) override {
        zstats::parseQcomGpuFreqsKhz(mText, out);
        zstats::parseMtkGpuFreqsKhz(mText, out);
    }
    void readFreqsTime(std::vector<long long>& out) override {
        zstats::parseMtkGpuFreqsTime(mText, out);
        mText += "\nf 1 2\n";
    }

  private:
    std::string mText;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const zstats::LogCapture quiet;
    const std::string text(reinterpret_cast<const char*>(data), size);
    zstats::GpuReader reader(std::make_shared<TextGpu>(text));
    reader.getGpuFreqsKhz();
    // The second reading has one line more, so that both ways through the differences are taken.
    const size_t first = reader.getGpuFreqsTimeDelta().size();
    if (reader.getGpuFreqsTimeDelta().size() != first) __builtin_trap();
    return 0;
}
