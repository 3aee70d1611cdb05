#pragma once

/**
 * Included before everything that uses the platform's headers on a PC: those headers lean on
 * includes that the device's C and C++ libraries give them.
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
