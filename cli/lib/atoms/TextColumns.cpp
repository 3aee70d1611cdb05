#include "cli/lib/atoms/TextColumns.h"

#include <algorithm>

namespace zstats::cli {
namespace {

/** True for the first byte of a character. */
bool isFirst(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
}

}  // namespace

size_t textWidth(const std::string& text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), isFirst));
}

std::string padded(const std::string& text, size_t columns, bool right) {
    const size_t width = textWidth(text);
    const std::string blanks(columns > width ? columns - width : 0, ' ');
    return right ? blanks + text : text + blanks;
}

}  // namespace zstats::cli
