#pragma once

namespace zstats::vdevice {

/**
 * Hides threads in a /proc whose processes are links. The kernel resolves /proc/ID for threads but
 * does not list them; with a link for every id they would be listed. Starts a process that removes
 * a thread's link while the thread lives.
 */
void hideThreads();

}  // namespace zstats::vdevice
