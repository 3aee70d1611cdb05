package vendor.norda.hardware.handlefactory;

import vendor.norda.hardware.handlefactory.HandleResult;

/** Maps short keys to the text of kernel nodes. */
@VintfStability
interface IHandleFactory {
    /** Reads the node behind a key. The three methods before it are not used here. */
    void readHandle(String key, int flag, out HandleResult result) = 3;
}
