#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <optional>
#include <stdexcept>

#include "cli/lib/CommandLine.h"
#include "cli/statsctl/RecordingDiff.h"
#include "cli/statsctl/Statsctl.h"

namespace zstats::cli {
namespace {

/** The events of a recording; nothing, and a line on standard error, for one that cannot be read. */
std::optional<std::vector<RecordingLine>> read(const std::string& path) {
    try {
        std::ifstream file(path);
        if (!file) throw std::runtime_error(strerror(errno));
        return readRecording(file);
    } catch (const std::runtime_error& error) {
        fprintf(stderr, "statsctl diff: %s: %s\n", path.c_str(), error.what());
        return std::nullopt;
    }
}

}  // namespace

int diffCommand(Statsd&, const CommandArguments& arguments) {
    const auto before = read(arguments.files[0]);
    if (!before) return kExitUsage;
    const auto after = read(arguments.files[1]);
    if (!after) return kExitUsage;
    const auto lines = diffRecordings(*before, *after, arguments.above.value_or(0));
    for (const std::string& line : lines) puts(line.c_str());
    return lines.empty() ? kExitOk : kExitFailed;
}

}  // namespace zstats::cli
