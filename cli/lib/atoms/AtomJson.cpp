#include "cli/lib/atoms/AtomJson.h"

#include <cmath>
#include <cstdio>

namespace zstats::cli {
namespace {

void appendAscii(std::string* out, char c) {
    char escaped[8];
    switch (c) {
        case '"':
        case '\\':
            *out += {'\\', c};
            return;
        case '\n':
            *out += "\\n";
            return;
        case '\t':
            *out += "\\t";
            return;
        case '\r':
            *out += "\\r";
            return;
        default:
            break;
    }
    if (static_cast<unsigned char>(c) >= 0x20) {
        *out += c;
        return;
    }
    snprintf(escaped, sizeof(escaped), "\\u%04x", static_cast<unsigned char>(c));
    *out += escaped;
}

std::string jsonValue(const AtomValue& value) {
    if (const auto* text = std::get_if<std::string>(&value)) return jsonString(*text);
    // JSON has no infinities and no NaN.
    if (const auto* number = std::get_if<float>(&value); number != nullptr) {
        if (!std::isfinite(*number)) return "null";
    }
    return valueText(value);
}

std::string head(int32_t id) {
    return "{\"atom\":" + std::to_string(id) + ",\"name\":" + jsonString(atomInfo(id).name);
}

template <typename Item>
std::string list(size_t count, Item item) {
    std::string text = "[";
    for (size_t i = 0; i < count; ++i) text += (i == 0 ? "" : ",") + item(i);
    return text + "]";
}

}  // namespace

size_t utf8Length(std::string_view text) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(0);
    const size_t length = first < 0x80   ? 1
                          : first < 0xC2 ? 0
                          : first < 0xE0 ? 2
                          : first < 0xF0 ? 3
                          : first < 0xF5 ? 4
                                         : 0;
    if (length == 0 || length > text.size()) return 0;
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
    }
    // Not UTF-8: overlong encodings, surrogates, and values above U+10FFFF.
    if (first == 0xE0 && byte(1) < 0xA0) return 0;
    if (first == 0xED && byte(1) > 0x9F) return 0;
    if (first == 0xF0 && byte(1) < 0x90) return 0;
    if (first == 0xF4 && byte(1) > 0x8F) return 0;
    return length;
}

std::string jsonString(std::string_view text) {
    std::string out = "\"";
    while (!text.empty()) {
        const size_t length = utf8Length(text);
        if (length == 1) {
            appendAscii(&out, text.front());
        } else {
            out += length == 0 ? std::string_view("\\ufffd") : text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return out + "\"";
}

std::string jsonFields(const std::vector<AtomValue>& fields) {
    return list(fields.size(), [&](size_t i) { return jsonValue(fields[i]); });
}

std::string jsonEvent(int32_t id, const std::vector<AtomValue>& fields) {
    const AtomInfo& info = atomInfo(id);
    const size_t count = fields.size();
    return head(id) + ",\"fields\":" + jsonFields(fields) +
           ",\"names\":" + list(count, [&](size_t i) { return jsonString(info.fieldName(i)); }) +
           ",\"types\":" + list(count, [&](size_t i) { return jsonString(typeName(fields[i])); }) +
           "}";
}

std::string jsonNoEvent(int32_t id) {
    return head(id) + ",\"events\":0}";
}

std::string jsonUnbuilt(int32_t id) {
    return head(id) + ",\"unbuilt\":true}";
}

std::string jsonFailed(int32_t id, std::string_view reason) {
    return head(id) + ",\"failed\":" + jsonString(reason) + "}";
}

}  // namespace zstats::cli
