#pragma once

#include <string>

namespace zstats::cli {

/**
 * The JSON Schema (2020-12) of a line that statsctl prints with --json: a recording's header, an
 * event of an atom of the catalogue, or an atom without one.
 */
std::string recordingSchema();

}  // namespace zstats::cli
