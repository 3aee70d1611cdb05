#pragma once

#include <fcntl.h>

#include <filesystem>
#include <set>
#include <string>

namespace zstats {

/** The numbers in a directory of /proc/self: "fd" or "task". */
inline std::set<int> ownEntries(const std::string& directory) {
    std::set<int> entries;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/" + directory)) {
        entries.insert(std::stoi(entry.path().filename()));
    }
    if (directory == "task") return entries;
    // Without the iterator's descriptor.
    for (const int fd : std::set<int>(entries)) {
        if (fcntl(fd, F_GETFD) < 0) entries.erase(fd);
    }
    return entries;
}

}  // namespace zstats
