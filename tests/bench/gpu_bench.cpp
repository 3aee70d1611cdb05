// A pull's reading of the GPU's time counters and its differences, by the number of frequencies.

#include <memory>
#include <string>
#include <utility>

#include "daemon/SystemHelpers.h"
#include "readers/GpuReader.h"
#include "tests/bench/BenchKit.h"

namespace zstats {
namespace {

std::string qcomTimes(int64_t frequencies) {
    std::string text;
    for (int64_t i = 0; i < frequencies; ++i) text += std::to_string(123'456'789 + i * 977) + " ";
    return text + "\n";
}

std::string mtkTimes(int64_t frequencies) {
    std::string text;
    for (int64_t i = 0; i < frequencies; ++i) {
        text += "opp " + std::to_string(900'000'000 - i * 1'000'000) + " " +
                std::to_string(123'456'789 + i * 977) + "\n";
    }
    return text;
}

/** Back-ends whose nodes are at hand, so that no service is measured. */
class QcomText : public GpuStats {
  public:
    explicit QcomText(std::string text) : mText(std::move(text)) {}
    void readFreqsKhz(std::vector<int>&) override {}
    void readFreqsTime(std::vector<long long>& out) override {
        splitString(mText.c_str(), " \t\n", &out);
    }

  private:
    const std::string mText;
};

class MtkText : public GpuStats {
  public:
    explicit MtkText(std::string text) : mText(std::move(text)) {}
    void readFreqsKhz(std::vector<int>&) override {}
    void readFreqsTime(std::vector<long long>& out) override { parseMtkGpuFreqsTime(mText, out); }

  private:
    const std::string mText;
};

void measure(benchmark::State& state, std::shared_ptr<GpuStats> stats) {
    GpuReader reader(std::move(stats));
    for (auto _ : state) benchmark::DoNotOptimize(reader.getGpuFreqsTimeDelta());
}

void gpuQcom(benchmark::State& state) {
    measure(state, std::make_shared<QcomText>(qcomTimes(state.range(0))));
}
void gpuQcomFloor(benchmark::State& state) {
    runScanFloor(state, qcomTimes(state.range(0)));
}
void gpuMtk(benchmark::State& state) {
    measure(state, std::make_shared<MtkText>(mtkTimes(state.range(0))));
}
void gpuMtkFloor(benchmark::State& state) {
    runScanFloor(state, mtkTimes(state.range(0)));
}

BENCHMARK(gpuQcom)->Name("gpu_qcom")->Arg(16)->Arg(64)->Arg(256);
BENCHMARK(gpuQcomFloor)->Name("gpu_qcom_floor")->Arg(16)->Arg(64)->Arg(256);
BENCHMARK(gpuMtk)->Name("gpu_mtk")->Arg(16)->Arg(64)->Arg(256);
BENCHMARK(gpuMtkFloor)->Name("gpu_mtk_floor")->Arg(16)->Arg(64)->Arg(256);

}  // namespace
}  // namespace zstats
