#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zstats {

// All of these may be called on any thread.

/** Exists only on MediaTek devices. */
inline constexpr char kMtkChipIdPath[] = "/proc/device-tree/chosen/atag,chipid";

/**
 * Appends the whole content of a file to `out`, which is not cleared first.
 * Returns the number of bytes read, or -1 when the file cannot be opened or a read fails. Bytes
 * that were read before a failure stay in `out`. errno is that of the failing call.
 */
int readFile(const std::string& path, std::string* out);

/**
 * Appends the rest of `fd` to `out`. Returns the number of bytes, or -1 with errno when a read
 * fails; what was read before stays in `out`.
 */
int readToEnd(int fd, std::string* out);

/**
 * Appends the numbers in `text`, separated by any run of characters of `delimiters`, to `out`.
 * The int form reads decimal as atoi does; the 64-bit form reads 0x and leading-0 prefixes as
 * strtoll with base 0 does. Returns 0, or -1 when no memory is left for a copy of the text.
 */
int splitString(const char* text, const char* delimiters, std::vector<int>* out);
int splitString(const char* text, const char* delimiters, std::vector<long long>* out);

/** The value of a system property, empty when it does not exist. Not cached. */
std::string getSystemProperty(const std::string& name);

/** Milliseconds since boot, suspend included (CLOCK_BOOTTIME), or -1 when the clock fails. */
int64_t getBootTimeMs();

/** True on a Qualcomm device: "ro.hardware" is exactly "qcom". Reads the property at each call. */
bool isQcomPlatform();

/** True unless "ro.build.release_type" is exactly "false"; a missing property counts as release. */
bool isReleaseType();

/**
 * True on pre-release builds: "persist.sys.alwayson.switch" is "true", or
 * "ro.sys.engineering.pre" is true as GetBoolProperty reads it. Computed once per process.
 */
bool isPreVersion();

/** True on a release build that is not a pre-release build. Computed once per process. */
bool isCommercialVersion();

/**
 * True when MemTotal of /proc/meminfo is above `thresholdKb` kB. True also when the file or its
 * MemTotal line cannot be read, false when it has no such line.
 */
bool checkMemTotalOk(int thresholdKb);

/** checkMemTotalOk for the meminfo at `path`. */
bool checkMemTotalOkAt(const char* path, int thresholdKb);

}  // namespace zstats
