#pragma once

/**
 * Included before all sources that use the platform's headers on a PC: those headers rely on
 * includes of a device's C and C++ libraries.
 */

#include <linux/types.h>
#include <unistd.h>

#ifdef __cplusplus
#include <algorithm>
#include <bitset>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>
#endif
