#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zstats::cli {

/**
 * Reads the daemon's sources, without the daemon. Each call looks its service up and does not wait
 * for it. Any thread.
 */

/** A value as text, or the reason for its absence. */
struct Reading {
    bool ok = false;
    std::string text;
};

bool serviceIsThere(const std::string& name);

/** Content of a handle key, byte for byte. */
Reading readHandleKey(const std::string& key);

/** Names of the charger's getters, in declaration order. */
const std::vector<std::string>& chargerMethods();
/** The result of a getter, in decimal. */
Reading readChargerMethod(const std::string& method);

/** Text of the touch controller's refresh-rate node. */
Reading readTouch();

/** An answer of the maker's thermal service: a transport status, or the int32 words of its reply. */
struct CaldaReply {
    int32_t transport = 0;
    std::vector<int32_t> words;
};
/** The maker's thermal service's reply to a code; no value when the service is absent. */
std::optional<CaldaReply> callCalda(uint32_t code);

/** CPU temperatures in degrees Celsius; no value when the service is absent or the call fails. */
std::optional<std::vector<float>> readCpuTemperatures();

/** The audio service's answer. */
struct AudioReply {
    int32_t transport = 0;
    std::optional<std::string> text;  // no value: the reply has no text
};
std::optional<AudioReply> callAudio();

/** Text of each usage record, if it has one; no value when the fetch fails. */
std::optional<std::vector<std::optional<std::string>>> readUsageRecords();

/** A whole file. */
Reading readDeviceFile(const std::string& path);

/** Time since boot in ms; 0 if it cannot be read. */
int64_t uptimeMs();

/** A property; not ok when it does not exist. */
Reading readDeviceProperty(const std::string& name);

}  // namespace zstats::cli
