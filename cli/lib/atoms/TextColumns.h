#pragma once

#include <cstddef>
#include <string>

namespace zstats::cli {

/** The number of characters (not bytes) of a UTF-8 text. */
size_t textWidth(const std::string& text);

/** The text padded to `columns` characters, after it, or before it if `right`. */
std::string padded(const std::string& text, size_t columns, bool right);

}  // namespace zstats::cli
