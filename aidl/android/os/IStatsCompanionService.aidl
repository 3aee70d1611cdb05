package android.os;

/** What statsd asks of the system server, as far as the virtual device has it. Service "statscompanion". */
interface IStatsCompanionService {
    /** Whether a process holds a permission. */
    boolean checkPermission(String permission, int pid, int uid) = 7;
}
