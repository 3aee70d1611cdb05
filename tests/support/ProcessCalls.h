#pragma once

#include <functional>
#include <string>
#include <vector>

namespace zstats {

/**
 * The calls of ProcessState and IPCThreadState that set up this process's binder threads, since the
 * last take, in order: "setThreadPoolMaxThreadCount 4", "startThreadPool", "giveThreadPoolName",
 * "joinThreadPool 1". The calls are only recorded. Any thread.
 */
std::vector<std::string> takeProcessCalls();

/** Runs in the next joinThreadPool, on the calling thread. */
void whileJoined(std::function<void()> action);

}  // namespace zstats
