#include "atoms/ChargerRead.h"

#include "atoms/AtomEvent.h"
#include "daemon/base/Log.h"

namespace zstats {

void warnWithoutCharger(const char* handler, int line) {
    ZLOG_AT(0, WARN, "%s line %d, getIChargeService return false", handler, line);
}

bool appendChargerValue(ICharger& charger, ChargerGetter getter, int32_t atomTag,
                        AStatsEventList* data) {
    int32_t value = 0;
    if (!(charger.*getter)(&value).isOk()) return false;
    appendEvent(data, atomTag, value);
    return true;
}

}  // namespace zstats
