#pragma once

namespace zstats::vdevice {

/**
 * Keeps threads out of a /proc whose processes are links. The kernel finds /proc/ID for threads
 * too, though it does not list them; with a link for every id they would be listed. Starts a
 * process that takes a thread's link away for as long as the thread lives.
 */
void hideThreads();

}  // namespace zstats::vdevice
