#include "vdevice/lib/profile/ProfileFiles.h"

#include <android-base/file.h>
#include <android-base/strings.h>
#include <unistd.h>

#include <charconv>

namespace zstats::vdevice {

std::string profilePath(const std::string& name) {
    return std::string(kProfileRoot) + "/" + name;
}

std::optional<std::string> readProfileFile(const std::string& path) {
    std::string content;
    if (!android::base::ReadFileToString(path, &content, true)) return std::nullopt;
    return content;
}

std::vector<std::string> profileLines(std::string_view text) {
    std::vector<std::string> lines;
    for (std::string& line : android::base::Split(std::string(text), "\n")) {
        if (!line.empty() && line.front() != '#') lines.push_back(std::move(line));
    }
    return lines;
}

std::map<std::string, std::string> keyValueLines(std::string_view text) {
    std::map<std::string, std::string> values;
    for (const std::string& line : profileLines(text)) {
        const size_t equals = line.find('=');
        if (equals != std::string::npos) values[line.substr(0, equals)] = line.substr(equals + 1);
    }
    return values;
}

std::optional<int> parseInt(std::string_view text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::string NodeSequence::path(const std::string& key, size_t step) const {
    const std::string base = mFolder + "/" + key;
    return step == 0 ? base : base + "." + std::to_string(step);
}

std::optional<std::string> NodeSequence::next(pid_t reader, const std::string& key) {
    // A key is a file name, so a slash would leave the folder.
    if (key.empty() || key.find('/') != std::string::npos) return std::nullopt;
    size_t step = 0;
    {
        const ScopedLock lock(mLock);
        size_t& stored = mSteps[{reader, key}];
        // Back to the last existing step: scripts and scenarios may remove files.
        while (stored > 0 && access(path(key, stored).c_str(), F_OK) != 0) --stored;
        step = stored++;
    }
    return readProfileFile(path(key, step));
}

}  // namespace zstats::vdevice
