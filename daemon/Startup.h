#pragma once

#include <functional>

namespace zstats {

/**
 * Decides whether the daemon may run here: the feature switch is on, and the device has more than
 * 4 GiB of memory, or the build is not commercial, or the start override is set. A refusal is
 * logged, and init is asked to stop the service, because it would restart it.
 */
bool mayRun();

/** mayRun with a check "MemTotal is above this many kB", which is called at most once. */
bool mayRunWith(const std::function<bool(int thresholdKb)>& memTotalOk);

/**
 * Publishes "atomacq", then "zstats_pullerd", whose construction registers the atoms. Serves binder
 * calls on the calling thread, the pool's first thread, and at most 4 more. Returns the process's
 * exit status: 0 once the pool ends, which it does not in normal operation, or -1 when a name is
 * refused.
 */
int publishAndServe();

/**
 * The whole daemon: mayRun, then publishAndServe. Returns the process's exit status, -1 on a refusal.
 * Ignores SIGPIPE for the whole process: a write to a closed pipe fails with EPIPE instead.
 */
int runDaemon();

}  // namespace zstats
