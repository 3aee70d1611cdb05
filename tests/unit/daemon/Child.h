#pragma once

#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>
#include <utility>

#include "tests/support/LogCapture.h"

namespace zstats {

/** Sets the properties that have a value. */
inline void setProperties(std::initializer_list<std::pair<const char*, const char*>> properties) {
    for (const auto& [name, value] : properties) {
        if (value != nullptr) property_set(name, value);
    }
}

/**
 * Runs `body` in a child process and returns the lines that it reports. For values that are
 * computed once for each process, and properties that can be set only once.
 */
inline Lines inChild(const std::function<void(Lines&)>& body) {
    FILE* const report = tmpfile();
    const pid_t pid = fork();
    if (pid == 0) {
        Lines lines;
        body(lines);
        for (const std::string& line : lines) fprintf(report, "%s%c", line.c_str(), '\0');
        _exit(fflush(report) == 0 ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_EQ(status, 0) << "the child did not end well";
    Lines lines;
    rewind(report);
    for (int c; (c = getc(report)) != EOF;) {
        for (lines.emplace_back(); c != '\0' && c != EOF; c = getc(report)) {
            lines.back() += static_cast<char>(c);
        }
    }
    fclose(report);
    return lines;
}

}  // namespace zstats
