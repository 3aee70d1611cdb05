#pragma once

#include <functional>
#include <string>
#include <vector>

namespace zstats {

/**
 * The calls that this process made of ProcessState and IPCThreadState to set up its binder threads,
 * since the last take, in order: "setThreadPoolMaxThreadCount 4", "startThreadPool",
 * "giveThreadPoolName", "joinThreadPool 1". They are recorded and do nothing else. Any thread.
 */
std::vector<std::string> takeProcessCalls();

/** Runs inside the next joinThreadPool, on the thread that joins. */
void whileJoined(std::function<void()> action);

}  // namespace zstats
