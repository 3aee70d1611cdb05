#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace zstats::vdevice {

/** Where a value of an atom comes from. */
enum class SourceKind {
    kKey,       // node behind a handle key
    kCharger,   // getter of the charger
    kTouch,     // node of the touch controller
    kCalda,     // transaction of the maker's thermal service; the name is its code
    kThermal,   // the platform's thermal service
    kAudio,     // the audio service
    kUsage,     // the usage library
    kFile,      // files that match a pattern; a folder of them at most is read
    kProperty,  // property that decides which of the others are read
};

/** The devices on which a source is read. */
enum class SourceDevice { kAny, kQcom, kNotQcom };

/** One place that an atom's handler reads. */
struct ValueSource {
    int32_t tag;
    SourceKind kind;
    const char* name;
    SourceDevice device = SourceDevice::kAny;
};

/** All sources of all atoms; an atom without a row reads nothing. */
const std::vector<ValueSource>& atomSources();

/** An atom's sources on a device with this "ro.hardware", in the order in which they are read. */
std::vector<ValueSource> sourcesOf(int32_t tag, std::string_view hardware);

/** Names of all sources of a kind, on any device, each once, sorted. */
std::vector<std::string_view> sourceNames(SourceKind kind);

}  // namespace zstats::vdevice
