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
    const bool negative = !text.empty() && text.front() == '-';
    if (negative || (!text.empty() && text.front() == '+')) text.remove_prefix(1);
    // Without the sign: libc++ negates by a sum that wraps, which a device's sanitizers trap.
    uint64_t magnitude = 0;
    const auto end = text.data() + text.size();
    const bool exceeds =
            std::from_chars(text.data(), end, magnitude).ec == std::errc::result_out_of_range;
    if (exceeds || magnitude > uint64_t{Limits::max()})
        return negative ? Limits::min() : Limits::max();
    const auto number = static_cast<int64_t>(magnitude);
    return negative ? -number : number;
}

int32_t leadingInt32(std::string_view text) {
    return wrap32(leadingInt64(text));
}

}  // namespace zstats
