package vendor.norda.hardware.touch;
@VintfStability
interface INordaTouch {
    String touchReadNodeFile(int deviceId, int nodeFlag);
}
