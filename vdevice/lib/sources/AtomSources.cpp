#include "vdevice/lib/sources/AtomSources.h"

#include <algorithm>

namespace zstats::vdevice {
namespace {

using K = SourceKind;
using D = SourceDevice;

constexpr char kHardware[] = "ro.hardware";
constexpr char kChipId[] = "/proc/device-tree/chosen/atag,chipid";
constexpr char kIdleTimes[] = "/sys/devices/system/cpu/cpu*/cpuidle/state*/time";
constexpr char kWakeUpSources[] = "/sys/class/wakeup/*/active_time_ms";

}  // namespace

const std::vector<ValueSource>& atomSources() {
    static const std::vector<ValueSource> kSources = {
            {150005, K::kKey, "battery_level"},
            {150005, K::kKey, "battery_ui_level"},
            {150006, K::kKey, "battery_dod"},
            {150007, K::kCharger, "getPsyChargeTech"},
            {150007, K::kCharger, "getPsyFastChgType"},
            {150008, K::kCharger, "getUIsohValue"},
            {150009, K::kCharger, "getPsyBatteryCC"},
            {150010, K::kCharger, "getBatteryVoltageNow"},
            {150011, K::kCharger, "getPsyBatteryCurrentNow"},
            {150013, K::kKey, "ddr_lpm_stats"},
            {150015, K::kKey, "devinfo_lcd"},
            {150018, K::kKey, "cpu_leakage_type"},
            {150018, K::kKey, "cpu_core"},
            {150020, K::kFile, kWakeUpSources},
            {150022, K::kCharger, "getPsyBatteryFcc"},
            {150023, K::kCharger, "getPsyInputCurrent"},
            {150023, K::kCharger, "getUsbInputCurrentNow"},
            {150024, K::kKey, "usb_input_voltage"},
            {150025, K::kCharger, "getPsyBatteryPchg"},
            {150026, K::kCharger, "getPsyBatteryPchgResetCount"},
            {150027, K::kProperty, kHardware},
            {150027, K::kKey, "power_ddr_residency", D::kQcom},
            {150027, K::kKey, "power_ddr_residency_mtk", D::kNotQcom},
            {150028, K::kKey, "ufs_freq_time"},
            {150029, K::kProperty, kHardware},
            {150029, K::kFile, kChipId, D::kNotQcom},
            {150029, K::kKey, "gpu_freq_table_qual", D::kQcom},
            {150029, K::kKey, "gpu_freq_time_qual", D::kQcom},
            {150029, K::kKey, "gpu_freq_table_mtk", D::kNotQcom},
            {150029, K::kKey, "gpu_freq_time_mtk", D::kNotQcom},
            {150030, K::kCharger, "getPsyBatteryTemp"},
            {150031, K::kThermal, "CPU temperatures"},
            {150112, K::kAudio, "PAPowerMonitorResult"},
            {150113, K::kKey, "allocstall_ux"},
            {150121, K::kProperty, kHardware},
            {150121, K::kFile, kChipId, D::kNotQcom},
            {150121, K::kKey, "cpu_index_range"},
            {150121, K::kFile, kIdleTimes},
            {150123, K::kKey, "remaining_battery_power"},
            {150124, K::kKey, "power_supply_ac_online"},
            {150124, K::kKey, "power_supply_usb_online"},
            {150124, K::kKey, "power_supply_pc_port_online"},
            {150125, K::kProperty, kHardware},
            {150125, K::kKey, "panel0_brightness_level_qcom", D::kQcom},
            {150125, K::kKey, "panel1_brightness_level_qcom", D::kQcom},
            {150125, K::kKey, "panel0_brightness_level_mtk", D::kNotQcom},
            {150125, K::kKey, "panel1_brightness_level_mtk", D::kNotQcom},
            {150126, K::kCalda, "4"},
            {150127, K::kCalda, "25"},
            {150128, K::kCalda, "21"},
            {150129, K::kCalda, "21"},
            {150131, K::kTouch, "refresh rate"},
            {150133, K::kProperty, kHardware},
            {150133, K::kKey, "panel0_brightness_level_qcom", D::kQcom},
            {150133, K::kKey, "panel1_brightness_level_qcom", D::kQcom},
            {150133, K::kKey, "panel0_brightness_level_mtk", D::kNotQcom},
            {150133, K::kKey, "panel1_brightness_level_mtk", D::kNotQcom},
            {150135, K::kKey, "ufs_total_read_size"},
            {150135, K::kKey, "ufs_total_write_size"},
            {150136, K::kUsage, "records"},
            {150138, K::kCharger, "getPsyBatteryFcc"},
            {150138, K::kKey, "battery_typical_capacity"},
            {150141, K::kKey, "perf_schedinfo"},
            {150167, K::kKey, "gauge_car_c"},
    };
    return kSources;
}

std::vector<ValueSource> sourcesOf(int32_t tag, std::string_view hardware) {
    const D device = hardware == "qcom" ? D::kQcom : D::kNotQcom;
    std::vector<ValueSource> sources;
    for (const ValueSource& source : atomSources()) {
        if (source.tag != tag) continue;
        if (source.device == D::kAny || source.device == device) sources.push_back(source);
    }
    return sources;
}

std::vector<std::string_view> sourceNames(SourceKind kind) {
    std::vector<std::string_view> names;
    for (const ValueSource& source : atomSources()) {
        if (source.kind == kind) names.emplace_back(source.name);
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

}  // namespace zstats::vdevice
