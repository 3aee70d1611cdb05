#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zstats::cli {

/** Kinds of sources; each is a field of the catalogue's message Source. */
enum class SourceKind {
    kKey,       // node behind a handle key
    kCharger,   // getter of the charger
    kTouch,     // node of the touch controller
    kCalda,     // transaction of the maker's thermal service; the name is its code
    kThermal,   // the platform's thermal service
    kAudio,     // the audio service
    kUsage,     // the usage library
    kFile,      // files that match a pattern
    kProperty,  // property that decides which of the others are read
};

/** The devices on which a source is read. */
enum class SourceDevice { kAny, kQcom, kNotQcom };

/** A source that an atom's handler reads. */
struct ValueSource {
    int32_t tag;
    SourceKind kind;
    std::string name;
    SourceDevice device;
    /** Names of files in the same folder, read if the pattern's file has a number above 0. */
    std::vector<std::string> beside;
};

/** All sources of the catalogue's atoms. Any thread. */
const std::vector<ValueSource>& atomSources();

/** An atom's sources on a device with this "ro.hardware", in the order in which they are read. */
std::vector<ValueSource> sourcesOf(int32_t tag, std::string_view hardware);

/** Names of all sources of a kind, on any device, each once, sorted. */
std::vector<std::string_view> sourceNames(SourceKind kind);

}  // namespace zstats::cli
