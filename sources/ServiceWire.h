#pragma once

#include <cstdint>

/** Names, codes and arguments of calls that no interface file declares. */
namespace zstats {

inline constexpr char kTouchService[] = "vendor.norda.hardware.touch.INordaTouch/default";
inline constexpr int32_t kTouchDevice = 0;
inline constexpr int32_t kRefreshRateNode = 26;

/** The maker's thermal service, which has no interface file. */
inline constexpr char kCaldaService[] = "calda";
inline constexpr char kCaldaDescriptor[] = "com.norda.calda.ICaldaService";
enum CaldaCode : uint32_t { kCaldaStatus = 4, kCaldaShellTemperatures = 21, kCaldaAmbient = 25 };

inline constexpr char kThermalService[] = "thermalservice";
inline constexpr int32_t kCpuTemperatureType = 0;

/** The audio service's power-amplifier monitor: a C string for a C string, without a token. */
inline constexpr char kAudioService[] = "audio";
inline constexpr uint32_t kAudioMonitorCode = 129;
inline constexpr char kAudioMonitorRequest[] = "PAPowerMonitorResult";

}  // namespace zstats
