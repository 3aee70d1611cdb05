#pragma once

#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/lib/ProfileNames.h"
#include "daemon/base/Mutex.h"

namespace zstats::vdevice {

namespace profile = zstats::profile;

/** The profile's folder in the device. Services read it at each call, so that tests can edit it. */
inline constexpr char kProfileRoot[] = "/profile";

/** The path of a profile's file or folder on the device. */
std::string profilePath(const std::string& name);

/** A whole file; no value when it cannot be read. */
std::optional<std::string> readProfileFile(const std::string& path);

/** Lines without line ends; blank lines and those that begin with '#' are ignored. */
std::vector<std::string> profileLines(std::string_view text);

/** The `key=value` lines of a text; the last of equal keys wins. Lines without '=' are ignored. */
std::map<std::string, std::string> keyValueLines(std::string_view text);

/** A whole decimal integer, sign allowed; nothing for anything else. */
std::optional<int> parseInt(std::string_view text);

/**
 * Contents of nodes that change with each read: KEY, then KEY.1, KEY.2, ..., then always the last.
 * Reads are counted for each calling process. Any thread.
 */
class NodeSequence {
  public:
    /** Reads the files in `folder`. */
    explicit NodeSequence(std::string folder) : mFolder(std::move(folder)) {}

    /** The next content of `key` for `reader`, a process id; no value without such a node. */
    std::optional<std::string> next(pid_t reader, const std::string& key);

  private:
    std::string path(const std::string& key, size_t step) const;

    const std::string mFolder;
    Mutex mLock;
    std::map<std::pair<pid_t, std::string>, size_t> mSteps GUARDED_BY(mLock);
};

}  // namespace zstats::vdevice
