#include "atoms/ChargerRead.h"

#include "daemon/base/Log.h"

namespace zstats {

std::optional<std::vector<int32_t>> readChargerValues(const std::shared_ptr<ICharger>& charger,
                                                      const ChargerWarnings& warnings,
                                                      std::initializer_list<ChargerGetter> getters) {
    if (charger == nullptr) {
        ZLOG_AT(0, WARN, "%s line %d, getIChargeService return false", warnings.handler,
                warnings.noServiceLine);
        return std::nullopt;
    }
    std::vector<int32_t> values;
    bool succeeded = true;
    for (const ChargerGetter getter : getters) {
        int32_t value = 0;
        if (!((*charger).*getter)(&value).isOk()) succeeded = false;
        values.push_back(value);
    }
    if (!succeeded) {
        ZLOG_AT(0, WARN, warnings.callFailedFormat, warnings.handler, warnings.callFailedLine);
        return std::nullopt;
    }
    return values;
}

}  // namespace zstats
