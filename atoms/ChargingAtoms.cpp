#include <cstdlib>

#include "atoms/AtomEvent.h"
#include "atoms/ChargerRead.h"
#include "daemon/ZStatsPullAtomCallback.h"

namespace zstats {

void ZStatsPullAtomCallback::handleChargeState(int32_t atomTag, AStatsEventList* data) {
    const auto values = readChargerValues(
            getIChargeService(),
            {__func__, 503, 513, "%s line %d, getPsyChargeTech getPsyFastChgType failed"},
            {&ICharger::getPsyChargeTech, &ICharger::getPsyFastChgType});
    if (values) appendEvent(data, atomTag, values->at(0), values->at(1));
}

void ZStatsPullAtomCallback::handleUsbInputCurrentNow(int32_t atomTag, AStatsEventList* data) {
    const auto values = readChargerValues(
            getIChargeService(),
            {__func__, 623, 631, "%s line %d, getPsyInputCurrent getUsbInputCurrentNow failed"},
            {&ICharger::getPsyInputCurrent, &ICharger::getUsbInputCurrentNow});
    if (!values) return;
    const int32_t charger = values->at(0);
    const int32_t usb = values->at(1);
    // The USB reading replaces a charger reading of 0.
    appendEvent(data, atomTag, charger != 0 ? charger : usb);
}

void ZStatsPullAtomCallback::handleUsbInputVoltageNow(int32_t atomTag, AStatsEventList* data) {
    appendEvent(data, atomTag, getValueByHandleKey("usb_input_voltage"));
}

void ZStatsPullAtomCallback::handleChargeStateFromSysfs(int32_t atomTag, AStatsEventList* data) {
    int32_t online = 0;  // a missing node counts as 0; values above 1 are kept
    for (const char* key :
         {"power_supply_ac_online", "power_supply_usb_online", "power_supply_pc_port_online"}) {
        online |= atoi(getContentByHandleKey(key).c_str());
    }
    appendEvent(data, atomTag, online);
}

}  // namespace zstats
