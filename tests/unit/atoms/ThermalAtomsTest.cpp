
#include "tests/support/AtomTest.h"

namespace zstats {
namespace {

constexpr int32_t kCpuTag = 150031;

using ThermalAtomsTest = AtomTest;

TEST_F(ThermalAtomsTest, carryWhatCaldaAnswers) {
    const struct {
        int32_t tag;
        std::string failed;
        const char* event;
    } rows[] = {{150126, "handleThermalStatus getThermalStatus", "[-3]"},
                {150127, "handleAmbientTemperature getTemperatureInMilliCelsius", "[35000]"},
                {150128, "handleBoardTemperature getTemperatureInMilliCelsius", "[41000]"},
                {150129, "handleShellTemperature getTemperatureInMilliCelsius",
                 "[38000, 37500, 36900]"}};
    for (const auto& row : rows) {
        expectPulls(row.tag, {"I1 ThermalReader checkService failed",
                              "E ThermalReader connect calda failed in getThermalStatus",
                              "D2 " + row.failed + " failed"});
    }
    FakeCalda calda;
    calda.set(FakeCalda::kStatus, {0, -3});
    calda.set(FakeCalda::kAmbient, {35});
    calda.set(FakeCalda::kShell, {4, 4, 41000, 38000, 37500, 36900});
    pull(150126);  // connects
    for (const auto& row : rows) {
        expectPulls(row.tag, {"D2 ThermalReader Calda Binder already exists", row.event});
    }
    for (const auto& [code, calls] : {std::pair(4, 1 + 3), {21, 2 * 3}, {25, 3}}) {
        EXPECT_EQ(calda.remote().calls(code), calls);
    }
    calda.set(FakeCalda::kStatus, {0, 0});
    calda.set(FakeCalda::kAmbient, {-5});
    calda.set(FakeCalda::kShell, {4, 4, 0, 0, -500, 0});
    EXPECT_EQ(pull(150126) + pull(150127) + pull(150128) + pull(150129),
              (Transcript{"[0]", "[-5000]", "[0]", "[0, -500, 0]"}));
}

TEST_F(ThermalAtomsTest, cpuValuesAreNumberedAndTruncated) {
    expectPulls(kCpuTag, {"E get thermalservice failed",
                          "W0 handleCpuTemperature line 940, checkIThermalService return false"});
    FakeThermalService thermal;
    pull(kCpuTag);  // connects
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const std::pair<std::vector<float>, Transcript> rows[] = {
            {{}, {"W0 handleCpuTemperature line 947, temperatureVec is empty"}},
            {{36.7f, -0.5f, 41.9f}, {"[0, 36]", "[1, 0]", "[2, 41]"}},
            {{-1.9f}, {"[0, -1]"}},
            {{0.0f}, {"[0, 0]"}},
            {{std::numeric_limits<float>::quiet_NaN(), kInfinity, -kInfinity},
             {"[0, 0]", "[1, 2147483647]", "[2, -2147483648]"}},
            {{2147483648.0f, -2147483648.0f, 2147483520.0f},
             {"[0, 2147483647]", "[1, -2147483648]", "[2, 2147483520]"}}};
    for (const auto& [values, expected] : rows) {
        thermal.set(values);
        expectPulls(kCpuTag, expected);
    }
}

}  // namespace
}  // namespace zstats
