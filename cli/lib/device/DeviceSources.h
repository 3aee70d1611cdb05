#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zstats::cli {

/**
 * Reads the daemon's sources without the daemon. Each call looks its service up and does not wait
 * for it. Any thread.
 */

/** A value as text, or the reason for which there is none. */
struct Reading {
    bool ok = false;
    std::string text;
};

bool serviceIsThere(const std::string& name);

/** Content behind a handle key, byte for byte. */
Reading readHandleKey(const std::string& key);

/** Names of the charger's getters, in declaration order. */
const std::vector<std::string>& chargerMethods();
/** What a getter returns, in decimal. */
Reading readChargerMethod(const std::string& method);

/** Text of the touch controller's refresh-rate node. */
Reading readTouch();

/** What the thermal service answers: a transport status, or the int32 words of its reply. */
struct CaldaReply {
    int32_t transport = 0;
    std::vector<int32_t> words;
};
/** The reply to one of the thermal service's codes; nothing when the service is not there. */
std::optional<CaldaReply> callCalda(uint32_t code);

/** CPU temperatures in degrees Celsius; nothing when the service is not there or refuses. */
std::optional<std::vector<float>> readCpuTemperatures();

/** The audio service's answer. */
struct AudioReply {
    int32_t transport = 0;
    std::optional<std::string> text;  // nothing: the reply holds no text at all
};
std::optional<AudioReply> callAudio();

/** Text of each usage record, nothing for one without; nothing at all when the fetch fails. */
std::optional<std::vector<std::optional<std::string>>> readUsageRecords();

/** A whole file. */
Reading readDeviceFile(const std::string& path);

/** How long the device is up, in ms; 0 if that cannot be read. */
int64_t uptimeMs();

/** A property; not ok when it does not exist. */
Reading readDeviceProperty(const std::string& name);

}  // namespace zstats::cli
