#include "atoms/AtomEvent.h"
#include "atoms/ChargerRead.h"
#include "daemon/ZStatsPullAtomCallback.h"
#include "daemon/base/Log.h"
#include "daemon/base/Numbers.h"

namespace zstats {

// The line numbers in the warnings are fixed parts of their texts.

void ZStatsPullAtomCallback::handleChargeState(int32_t atomTag, AStatsEventList* data) {
    const auto charger = getIChargeService();
    if (charger == nullptr) return warnWithoutCharger(__func__, 503);
    int32_t technology = 0;
    int32_t fastType = 0;
    const auto technologyStatus = charger->getPsyChargeTech(&technology);
    const auto fastTypeStatus = charger->getPsyFastChgType(&fastType);  // also after a failure
    if (!technologyStatus.isOk() || !fastTypeStatus.isOk()) {
        ZLOG_AT(0, WARN, "%s line %d, getPsyChargeTech getPsyFastChgType failed", __func__, 513);
        return;
    }
    appendEvent(data, atomTag, technology, fastType);
}

void ZStatsPullAtomCallback::handleUsbInputCurrentNow(int32_t atomTag, AStatsEventList* data) {
    const auto charger = getIChargeService();
    if (charger == nullptr) return warnWithoutCharger(__func__, 623);
    int32_t inputCurrent = 0;
    int32_t usbCurrent = 0;
    const auto inputStatus = charger->getPsyInputCurrent(&inputCurrent);
    const auto usbStatus = charger->getUsbInputCurrentNow(&usbCurrent);  // also after a failure
    if (!inputStatus.isOk() || !usbStatus.isOk()) {
        ZLOG_AT(0, WARN, "%s line %d, getPsyInputCurrent getUsbInputCurrentNow failed", __func__,
                631);
        return;
    }
    // The USB reading replaces a charger reading of 0.
    appendEvent(data, atomTag, inputCurrent != 0 ? inputCurrent : usbCurrent);
}

void ZStatsPullAtomCallback::handleUsbInputVoltageNow(int32_t atomTag, AStatsEventList* data) {
    appendEvent(data, atomTag, getValueByHandleKey("usb_input_voltage"));
}

void ZStatsPullAtomCallback::handleChargeStateFromSysfs(int32_t atomTag, AStatsEventList* data) {
    int32_t online = 0;  // a missing node counts as 0; values above 1 are kept
    for (const char* key :
         {"power_supply_ac_online", "power_supply_usb_online", "power_supply_pc_port_online"}) {
        online |= leadingInt32(getContentByHandleKey(key));
    }
    appendEvent(data, atomTag, online);
}

}  // namespace zstats
