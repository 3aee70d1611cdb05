#pragma once

/** The charger's getters, each put through X, in the order of the interface. */
#define ZSTATS_CHARGER_METHODS(X)  \
    X(getBatteryVoltageNow)        \
    X(getPsyBatteryCC)             \
    X(getPsyBatteryCurrentNow)     \
    X(getPsyBatteryFcc)            \
    X(getPsyBatteryPchg)           \
    X(getPsyBatteryPchgResetCount) \
    X(getPsyBatteryTemp)           \
    X(getPsyChargeTech)            \
    X(getPsyFastChgType)           \
    X(getPsyInputCurrent)          \
    X(getUIsohValue)               \
    X(getUsbInputCurrentNow)
