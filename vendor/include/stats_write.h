#pragma once

/** Contract of the closed library that writes the maker's pushed atoms. */
namespace NordaFramework {

/**
 * Writes atom `atomId` with four int32 fields and a string field to statsd. `info` is
 * NUL-terminated and not kept. Returns a negative errno on failure. Any thread.
 */
int stats_write(int atomId, int type, int pe, int lnr, int bnr, const char* info);

}  // namespace NordaFramework
