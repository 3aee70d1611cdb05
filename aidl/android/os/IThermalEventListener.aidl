package android.os;

import android.os.Temperature;

oneway interface IThermalEventListener {
    void notifyThrottling(in Temperature temperature);
}
