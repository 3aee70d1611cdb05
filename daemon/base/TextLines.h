#pragma once

#include <string_view>

namespace zstats {

/** The characters around keys and values of a node's lines. */
inline constexpr std::string_view kBlanks = " \n\r\t";

/**
 * Calls `visit` with each line of `text`, without its newline. A last line without a newline
 * counts; an empty text has no line. The views point into `text`.
 */
template <typename Visitor>
void forEachLine(std::string_view text, Visitor visit) {
    while (!text.empty()) {
        const size_t end = text.find('\n');
        visit(text.substr(0, end));
        if (end == std::string_view::npos) return;
        text.remove_prefix(end + 1);
    }
}

/** `text` from its first character that is not blank; throws std::out_of_range without one. */
inline std::string_view withoutLeadingBlanks(std::string_view text) {
    return text.substr(text.find_first_not_of(kBlanks));
}

}  // namespace zstats
