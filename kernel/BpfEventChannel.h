#pragma once

#include "vendor/include/zbpf_connection.h"

namespace zstats {

/** Client name of every connection of the daemon. */
inline constexpr char kBpfClientName[] = "pullerd_kw";

/** Pushed atom that carries a fatal-data record of the scheduler feature Kestrel. */
inline constexpr int kKestrelFatalAtom = 100207;

/**
 * True when the closed library supports this device: the channel is enabled, the kernel has BTF,
 * and the region is supported. Each question is asked only if the previous answer was yes.
 */
bool isBpfChannelSupported();

/**
 * A request for the records of the BPF program at `path`, of which at most 1023 bytes are kept.
 * The record and disconnect callbacks are those below.
 */
zbpf_connect_request buildConnectionRequest(const char* path);

/**
 * Receives a record of the kernel, on a thread of the closed library. Fatal data (flag 1) becomes
 * pushed atom 100207. Any other flag and a null record are logged and dropped. The record has the
 * int32 fields type, pe, lnr and bnr in the machine's byte order, then a NUL-terminated text.
 */
void onBpfDataArrived(int dispatchFlag, short dataType, char* record);

/**
 * Notice that the channel was disconnected, on a thread of the closed library. It is only logged:
 * the daemon does not reconnect, and ends the connection with the same descriptor.
 */
void onBpfDisconnect();

}  // namespace zstats
