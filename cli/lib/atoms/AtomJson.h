#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/lib/atoms/AtomCatalogue.h"

namespace zstats::cli {

/** Lines of JSON, without line ends, for events and for pulls without one. */

/** An event: atom, name, and fields, names and types side by side. */
std::string jsonEvent(int32_t id, const std::vector<AtomValue>& fields);
/** An answered pull without an event. */
std::string jsonNoEvent(int32_t id);
/** An event that its writer did not build. */
std::string jsonUnbuilt(int32_t id);
/** Only the fields, as a list. */
std::string jsonFields(const std::vector<AtomValue>& fields);
/** A pull without an answer. */
std::string jsonFailed(int32_t id, std::string_view reason);

/** Bytes of the first UTF-8 character of a non-empty text; 0 if it is malformed. */
size_t utf8Length(std::string_view text);

/** The text in quotes. Invalid UTF-8 becomes U+FFFD, because JSON has to be UTF-8. */
std::string jsonString(std::string_view text);

}  // namespace zstats::cli
