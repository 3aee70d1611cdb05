#include "daemon/base/Log.h"

namespace zstats {

std::atomic<int32_t> gLogLevel{1};

}  // namespace zstats
