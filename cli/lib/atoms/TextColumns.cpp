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

std::string cut(const std::string& text, size_t columns) {
    size_t count = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (isFirst(text[i]) && count++ == columns) return text.substr(0, i);
    }
    return text;
}

std::string cutFront(const std::string& text, size_t columns) {
    const size_t width = textWidth(text);
    if (width <= columns || columns == 0) return cut(text, columns);
    return "…" + text.substr(cut(text, width - columns + 1).size());
}

}  // namespace zstats::cli
