package vendor.norda.hardware.charger;

/** The charger driver's own bookkeeping; only what the daemon asks for, in declaration order. */
@VintfStability
interface ICharger {
    /** Battery voltage. */
    int getBatteryVoltageNow();
    /** Battery cycle count. */
    int getPsyBatteryCC();
    /** Battery current. */
    int getPsyBatteryCurrentNow();
    /** Full-charged capacity, mAh. */
    int getPsyBatteryFcc();
    /** Charge passed. */
    int getPsyBatteryPchg();
    /** How often the passed charge was reset. */
    int getPsyBatteryPchgResetCount();
    /** Battery temperature, tenths of a degree Celsius. */
    int getPsyBatteryTemp();
    /** Charge technology code. */
    int getPsyChargeTech();
    /** Fast-charge type code. */
    int getPsyFastChgType();
    /** Charger input current. */
    int getPsyInputCurrent();
    /** State of health as shown to the user, percent. */
    int getUIsohValue();
    /** USB input current. */
    int getUsbInputCurrentNow();
}
