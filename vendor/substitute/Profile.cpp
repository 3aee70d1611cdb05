#include "vendor/substitute/Profile.h"

#include <algorithm>
#include <charconv>
#include <fstream>

#include "daemon/base/Mutex.h"
#include "vendor/substitute/Substitute.h"

namespace zstats::substitute {

namespace {

Mutex gFolderLock;

/** Guarded, because a test may change the folder while a thread of a library reads it. */
std::string& folderLocked() REQUIRES(gFolderLock) {
    static std::string folder = "/profile";
    return folder;
}

}  // namespace

void useProfile(const std::string& folder) {
    const ScopedLock lock(gFolderLock);
    folderLocked() = folder;
}

std::string profileFolder() {
    const ScopedLock lock(gFolderLock);
    return folderLocked();
}

std::vector<std::string> readProfileLines(const std::string& name) {
    std::vector<std::string> lines;
    std::ifstream file(profileFolder() + "/" + name);
    for (std::string line; std::getline(file, line);) {
        line.erase(line.find_last_not_of(" \t\r") + 1);
        lines.push_back(line);
    }
    return lines;
}

std::optional<int> readFeatureNumber(const std::string& key) {
    const std::string prefix = key + "=";
    for (const std::string& line : readProfileLines("features")) {
        if (line.compare(0, prefix.size(), prefix) != 0) continue;
        int number = 0;
        const char* end = line.data() + line.size();
        const auto parsed = std::from_chars(line.data() + prefix.size(), end, number);
        if (parsed.ec == std::errc() && parsed.ptr == end) return number;
    }
    return std::nullopt;
}

bool hasFeatureLine(const std::string& line) {
    const std::vector<std::string> lines = readProfileLines("features");
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

}  // namespace zstats::substitute
