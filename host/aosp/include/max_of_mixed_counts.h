#pragma once

#include <algorithm>

namespace std {

/** dumpsys compares a duration's count with 0LL, which are two types on this platform. */
inline long long max(long a, long long b) {
    return a > b ? a : b;
}

}  // namespace std
