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

using Text = std::string (*)(int64_t frequencies);
using Parse = void (*)(const std::string& text, std::vector<long long>& out);

/** A back-end whose node is at hand, so that no service is measured. */
struct TextGpu : GpuStats {
    TextGpu(std::string shown, Parse parser) : text(std::move(shown)), parse(parser) {}
    void readFreqsKhz(std::vector<int>&) override {}
    void readFreqsTime(std::vector<long long>& out) override { parse(text, out); }

    const std::string text;
    const Parse parse;
};

void parseQcom(const std::string& text, std::vector<long long>& out) {
    splitString(text.c_str(), " \t\n", &out);
}

void measure(benchmark::State& state, Text text, Parse parse) {
    GpuReader reader(std::make_shared<TextGpu>(text(state.range(0)), parse));
    for (auto _ : state) benchmark::DoNotOptimize(reader.getGpuFreqsTimeDelta());
}

void scan(benchmark::State& state, Text text) {
    runScanFloor(state, text(state.range(0)));
}

void sizes(benchmark::internal::Benchmark* subject) {
    subject->Arg(16)->Arg(64)->Arg(256);
}

BENCHMARK_CAPTURE(measure, qcom, qcomTimes, parseQcom)->Name("gpu_qcom")->Apply(sizes);
BENCHMARK_CAPTURE(scan, qcom, qcomTimes)->Name("gpu_qcom_floor")->Apply(sizes);
BENCHMARK_CAPTURE(measure, mtk, mtkTimes, parseMtkGpuFreqsTime)->Name("gpu_mtk")->Apply(sizes);
BENCHMARK_CAPTURE(scan, mtk, mtkTimes)->Name("gpu_mtk_floor")->Apply(sizes);

}  // namespace
}  // namespace zstats
