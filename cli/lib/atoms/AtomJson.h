#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/lib/atoms/AtomCatalogue.h"

namespace zstats::cli {

/** Lines of JSON, without their line ends, that say what became of an atom. */

/** An event: atom, name, and fields, names and types side by side. */
std::string jsonEvent(int32_t id, const std::vector<AtomValue>& fields);
/** An answered pull that brought nothing. */
std::string jsonNoEvent(int32_t id);
/** An event that its writer never finished. */
std::string jsonUnbuilt(int32_t id);
/** The fields alone, as a list. */
std::string jsonFields(const std::vector<AtomValue>& fields);
/** A pull that was not answered. */
std::string jsonFailed(int32_t id, std::string_view reason);

/** Length in bytes of the UTF-8 character that a non-empty text begins with; 0 if it is malformed. */
size_t utf8Length(std::string_view text);

/** The text in quotes. Bytes that are no UTF-8 become U+FFFD, so that the line stays JSON. */
std::string jsonString(std::string_view text);

}  // namespace zstats::cli
