#pragma once

#include <cstddef>
#include <string>

namespace zstats::cli {

/** Characters of a UTF-8 text, not bytes. */
size_t textWidth(const std::string& text);

/** The text with blanks behind it, or before it if `right`, up to `columns` characters. */
std::string padded(const std::string& text, size_t columns, bool right);

/** The text's first `columns` characters. */
std::string cut(const std::string& text, size_t columns);

/** The text, or for a longer one "…" and its last characters, `columns` in all. */
std::string cutFront(const std::string& text, size_t columns);

}  // namespace zstats::cli
