#pragma once

#include "vendor/include/zbpf_connection.h"

namespace zstats {

/** Name under which every connection of the daemon is made and ended. */
inline constexpr char kBpfClientName[] = "pullerd_kw";

/** Pushed atom that carries a fatal-data record of the scheduler feature Kestrel. */
inline constexpr int kKestrelFatalAtom = 100207;

/**
 * True when the closed library can serve this device: the channel is enabled, the kernel describes
 * its types, and the region is supported; each asked only when the one before holds.
 */
bool isBpfChannelSupported();

/**
 * A request for the records of the BPF program at `path`, of which at most 1023 bytes are kept.
 * The record and disconnect callbacks are those below.
 */
zbpf_connect_request buildConnectionRequest(const char* path);

/**
 * A record from the kernel, on a thread of the closed library's. Fatal data (flag 1) becomes pushed
 * atom 100207; any other flag and a null record are logged and dropped. The record holds the int32
 * fields type, pe, lnr and bnr in the machine's byte order, then a NUL-terminated text.
 */
void onBpfDataArrived(int dispatchFlag, short dataType, char* record);

/**
 * The kernel's end is gone. Logged only: nothing reconnects, and the connection's descriptor stays
 * the one that it is ended with. On a thread of the closed library's.
 */
void onBpfDisconnect();

}  // namespace zstats
