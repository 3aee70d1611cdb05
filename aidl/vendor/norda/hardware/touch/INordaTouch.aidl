package vendor.norda.hardware.touch;

/** The touch controller. */
@VintfStability
interface INordaTouch {
    /** Text of node `nodeFlag` of touch device `deviceId`. */
    String touchReadNodeFile(int deviceId, int nodeFlag);
}
