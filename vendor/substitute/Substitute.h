#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

/**
 * What a test or a tool needs of the substitutes of the closed libraries. The daemon never includes
 * this: it sees the contracts in vendor/include alone. Everything here may be called from any
 * thread.
 *
 * The substitutes answer what the device's profile folder says, which is read at each call:
 *   features  `feature=NAME off`: isOsFeatureEnabled(NAME) is false
 *             `bpf=unsupported`: zbpf_is_enable answers 0; or, each by itself, `bpf_enable=N`,
 *             `bpf_btf=N` and `bpf_region=N`: what the three questions answer
 *             `bpf_connect=N`: zbpf_connect_start returns N, which is negative
 *   uah       a record's text a line; `!nontext` is a record that holds no text; `!fail` makes
 *             the fetch fail
 * With no such file every feature is enabled and there are no usage records.
 */
namespace zstats::substitute {

/** Reads the profile from `folder` from now on instead of "/profile". */
void useProfile(const std::string& folder);

/** What the kernel's side hands over: a data record, or with no record a null pointer. */
struct Injection {
    int32_t dispatchFlag = 1;
    int16_t dataType = 0;
    std::optional<std::string> record;
};

/** The bytes of a fatal-data record; the text's NUL is included. */
std::string fatalDataRecord(int32_t type, int32_t pe, int32_t lnr, int32_t bnr,
                            const std::string& info);

/** Longest record that can be delivered, in bytes. */
inline constexpr size_t kMaxRecordBytes = 4096;

/**
 * Delivers a record, once, to the connection that some process under the same profile made for the
 * BPF program at `path`, and returns when its callback has returned. Returns 0 or a negative errno:
 * -ECONNREFUSED when nobody is connected, -EMSGSIZE when the record is too long.
 */
int injectRecord(const std::string& path, const Injection& injection);

/** Calls the connection's disconnect callback likewise. The connection goes on to be served. */
int injectDisconnect(const std::string& path);

/** An atom as NordaFramework::stats_write got it. */
struct WrittenAtom {
    int atomId;
    int type;
    int pe;
    int lnr;
    int bnr;
    std::string info;
};

/** Calls `observer` for each atom that this process writes, before it is sent; empty to stop. */
void observeStatsWrites(std::function<void(const WrittenAtom&)> observer);

}  // namespace zstats::substitute
