#include "daemon/base/Numbers.h"

#include <charconv>
#include <limits>
#include <system_error>

#include "daemon/base/Arithmetic.h"

namespace zstats {
namespace {

/** isspace() of the "C" locale. */
constexpr bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

}  // namespace

int64_t leadingInt64(std::string_view text) {
    using Limits = std::numeric_limits<int64_t>;
    while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
    // from_chars takes a minus alone.
    const bool plus = !text.empty() && text.front() == '+';
    if (plus) text.remove_prefix(1);
    const bool negative = !text.empty() && text.front() == '-';
    if (plus && negative) return 0;
    int64_t number = 0;
    const auto end = text.data() + text.size();
    if (std::from_chars(text.data(), end, number).ec == std::errc::result_out_of_range) {
        return negative ? Limits::min() : Limits::max();
    }
    return number;
}

int32_t leadingInt32(std::string_view text) {
    return wrap32(leadingInt64(text));
}

}  // namespace zstats
