#include "atoms/AtomEvent.h"
#include "daemon/ZStatsPullAtomCallback.h"
#include "daemon/base/Log.h"

namespace zstats {

void ZStatsPullAtomCallback::handleGpuFreqTimeInfo(int32_t atomTag, AStatsEventList* data) {
    const ScopedLock lock(mGpuLock);
    // The table first: while it is empty, reading it again precedes the counters.
    const std::vector<int> freqsKhz = mGpuReader.getGpuFreqsKhz();
    const std::vector<long long> deltas = mGpuReader.getGpuFreqsTimeDelta();
    if (freqsKhz.size() != deltas.size()) {
        ZLOG(ERROR, "%s, freq size %lu, freq time size %lu", __func__, freqsKhz.size(),
             deltas.size());
        return;
    }
    for (size_t i = 0; i < freqsKhz.size(); ++i) {
        appendEvent(data, atomTag, int32_t{freqsKhz[i]}, int64_t{deltas[i]});
    }
}

}  // namespace zstats
