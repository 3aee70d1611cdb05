#pragma once

#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace zstats {

using Report = std::vector<std::string>;

/** Sets the properties that have a value. */
inline void setProperties(std::initializer_list<std::pair<const char*, const char*>> properties) {
    for (const auto& [name, value] : properties) {
        if (value != nullptr) property_set(name, value);
    }
}

namespace child {

inline std::string readToEnd(int fd) {
    std::string text;
    std::array<char, 4096> buffer;
    for (ssize_t count; (count = read(fd, buffer.data(), buffer.size())) > 0;) {
        text.append(buffer.data(), static_cast<size_t>(count));
    }
    return text;
}

[[noreturn]] inline void report(int fd, const std::function<void(Report&)>& body) {
    Report lines;
    body(lines);
    std::string text;
    for (const std::string& line : lines) text += line + '\0';
    const bool written = write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    _exit(written ? 0 : 1);
}

}  // namespace child

/**
 * Runs `body` in a process of its own and returns the lines that it reports: for what is fixed once
 * per process, and for properties that can be set only once. At most 64 KiB.
 */
inline Report inChild(const std::function<void(Report&)>& body) {
    std::array<int, 2> ends;
    if (pipe(ends.data()) != 0) {
        ADD_FAILURE() << "pipe";
        return {};
    }
    const pid_t pid = fork();
    if (pid == 0) child::report(ends[1], body);
    close(ends[1]);
    const std::string text = child::readToEnd(ends[0]);
    close(ends[0]);
    int status = -1;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_EQ(status, 0) << "the child did not end well";
    Report lines;
    for (size_t at = 0; at < text.size(); at += lines.back().size() + 1) {
        lines.emplace_back(text.c_str() + at);
    }
    return lines;
}

}  // namespace zstats
