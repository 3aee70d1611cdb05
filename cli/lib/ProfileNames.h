#pragma once

/** Names of a profile's files and folders, as zstats_record writes and the virtual device reads them. */
namespace zstats::profile {

inline constexpr char kAbsent[] = "absent";
inline constexpr char kAudio[] = "audio";
inline constexpr char kBuildProp[] = "build.prop";
inline constexpr char kCalda[] = "calda";
inline constexpr char kCharger[] = "charger";
inline constexpr char kFaults[] = "faults";
inline constexpr char kFeatures[] = "features";
inline constexpr char kNodes[] = "nodes";
inline constexpr char kRoot[] = "root";
inline constexpr char kScenario[] = "scenario";
inline constexpr char kThermal[] = "thermal";
inline constexpr char kTouch[] = "touch";
inline constexpr char kUsage[] = "uah";

}  // namespace zstats::profile
