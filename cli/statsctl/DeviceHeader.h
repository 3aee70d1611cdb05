#pragma once

#include <string>

#include "cli/lib/atoms/RecordedEvent.h"

namespace zstats::cli {

/** The header of a recording by `source` on this device, with its clocks. */
RecordingHeader deviceHeader(const char* source);

/** The build id in the notes of an ELF file, in hexadecimal digits; empty if it has none. */
std::string buildIdOf(const std::string& path);

}  // namespace zstats::cli
