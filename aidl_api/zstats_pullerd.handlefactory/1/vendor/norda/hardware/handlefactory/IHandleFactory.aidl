package vendor.norda.hardware.handlefactory;
import vendor.norda.hardware.handlefactory.HandleResult;
@VintfStability
interface IHandleFactory {
    void readHandle(String key, int flag, out HandleResult result) = 3;
}
