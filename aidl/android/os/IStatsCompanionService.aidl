package android.os;

/** The system server's service "statscompanion": only the call that the virtual device's statsd makes. */
interface IStatsCompanionService {
    /** True when a process has a permission. */
    boolean checkPermission(String permission, int pid, int uid) = 7;
}
