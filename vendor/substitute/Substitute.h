#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

/**
 * Control of the closed libraries' substitutes, for tests and tools. The daemon includes only the
 * contracts in vendor/include. Any thread.
 *
 * The substitutes answer by the device's profile folder, which is read at each call:
 *   features  `feature=NAME off`: isOsFeatureEnabled(NAME) is false
 *             `bpf=unsupported`: zbpf_is_enable returns 0; or separately `bpf_enable=N`,
 *             `bpf_btf=N` and `bpf_region=N`: the results of the three functions
 *             `bpf_connect=N`: zbpf_connect_start returns N, which is negative
 *   uah       a record in each line; `!nontext` is a record without text; `!fail` makes the fetch
 *             fail
 * Without these files, every feature is enabled and there are no usage records.
 */
namespace zstats::substitute {

/** Reads the profile from `folder` instead of "/profile". */
void useProfile(const std::string& folder);

/** A record of the kernel; without data, the callback gets a null pointer. */
struct Injection {
    int32_t dispatchFlag = 1;
    int16_t dataType = 0;
    std::optional<std::string> record;
};

/** The bytes of a fatal-data record, including the text's NUL. */
std::string fatalDataRecord(int32_t type, int32_t pe, int32_t lnr, int32_t bnr,
                            const std::string& info);

/** Maximum size of a record. */
inline constexpr size_t kMaxRecordBytes = 4096;

/**
 * Delivers a record to the connection that a process with the same profile has for the BPF program
 * at `path`, and returns after its callback. Returns 0 or a negative errno: -ECONNREFUSED without a
 * connection, -EMSGSIZE when the record is too long.
 */
int injectRecord(const std::string& path, const Injection& injection);

/** Calls the connection's disconnect callback in the same way. The connection stays usable. */
int injectDisconnect(const std::string& path);

/** An atom passed to NordaFramework::stats_write. */
struct WrittenAtom {
    int atomId;
    int type;
    int pe;
    int lnr;
    int bnr;
    std::string info;
};

/** Calls `observer` before this process sends an atom; empty to stop. */
void observeStatsWrites(std::function<void(const WrittenAtom&)> observer);

}  // namespace zstats::substitute
