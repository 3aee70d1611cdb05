// Program of all fuzz targets: zstats_fuzz --target=NAME, then libFuzzer's options and inputs.
// Without a target it prints the names.

#include <android/log.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "daemon/base/Log.h"
#include "tests/fuzz/FuzzTarget.h"

namespace zstats::fuzz {

std::vector<ReadEvent> eventsOf(const AStatsEventList& list) {
    std::vector<ReadEvent> events;
    for (const std::vector<uint8_t>& bytes : encodedEvents(list)) {
        const auto event = readEvent(bytes.data(), bytes.size());
        require(event.has_value());
        events.push_back(*event);
    }
    return events;
}

std::vector<std::string> partsOf(std::string_view input, size_t count) {
    std::vector<std::string> parts;
    while (parts.size() + 1 < count) {
        const size_t end = std::min(input.find('\0'), input.size());
        parts.emplace_back(input.substr(0, end));
        input.remove_prefix(std::min(end + 1, input.size()));
    }
    parts.emplace_back(input);
    return parts;
}

}  // namespace zstats::fuzz

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

static zstats::fuzz::Target gRun;

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    const std::string chosen = *argc > 1 ? (*argv)[1] : "";
    for (const auto& [name, run] : zstats::fuzz::targets()) {
        if (chosen == "--target=" + name) gRun = run;
        if (chosen.empty()) puts(name.c_str());
    }
    if (gRun == nullptr) exit(chosen.empty() ? 0 : 2);
    signal(SIGPIPE, SIG_IGN);  // as in the daemon: an input may pass a closed pipe
    // Log lines are formatted, so that a sanitizer sees their arguments, but not printed.
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    __android_log_set_logger([](const __android_log_message* line) {
        if (line->priority >= ANDROID_LOG_FATAL) fprintf(stderr, "%s\n", line->message);
    });
    zstats::gLogLevel = 2;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    gRun({reinterpret_cast<const char*>(data), size});
    return 0;
}
