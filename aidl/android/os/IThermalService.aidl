package android.os;

import android.os.IThermalEventListener;
import android.os.IThermalStatusListener;
import android.os.Temperature;

/** The platform's thermal service, shortened to the calls that this project needs. */
interface IThermalService {
    boolean registerThermalEventListener(in IThermalEventListener listener);
    boolean registerThermalEventListenerWithType(in IThermalEventListener listener, in int type);
    boolean unregisterThermalEventListener(in IThermalEventListener listener);
    Temperature[] getCurrentTemperatures();
    Temperature[] getCurrentTemperaturesWithType(in int type);
    boolean registerThermalStatusListener(in IThermalStatusListener listener);
    boolean unregisterThermalStatusListener(in IThermalStatusListener listener);
    int getCurrentThermalStatus();
}
