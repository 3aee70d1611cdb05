package vendor.norda.hardware.charger;
@VintfStability
interface ICharger {
    int getBatteryVoltageNow();
    int getPsyBatteryCC();
    int getPsyBatteryCurrentNow();
    int getPsyBatteryFcc();
    int getPsyBatteryPchg();
    int getPsyBatteryPchgResetCount();
    int getPsyBatteryTemp();
    int getPsyChargeTech();
    int getPsyFastChgType();
    int getPsyInputCurrent();
    int getUIsohValue();
    int getUsbInputCurrentNow();
}
