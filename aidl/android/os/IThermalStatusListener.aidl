package android.os;

oneway interface IThermalStatusListener {
    void onStatusChange(int status);
}
