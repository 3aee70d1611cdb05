// Arbitrary dump arguments, from callers that may dump and from one that may not.

#include <android-base/unique_fd.h>
#include <android/log.h>
#include <binder/IPCThreadState.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "daemon/Log.h"
#include "daemon/ZstatsPullerService.h"

namespace {

using android::sp;
using android::String16;

constexpr int64_t kCallers[] = {0, 1000, 2000};

void require(bool condition) {
    if (!condition) abort();
}

/** The arguments stand between NUL bytes. */
android::Vector<String16> splitArguments(const std::string& text) {
    android::Vector<String16> args;
    for (size_t at = 0; at < text.size();) {
        const std::string arg = text.c_str() + at;
        args.add(String16(arg.c_str()));
        at += arg.size() + 1;
    }
    return args;
}

std::string contentOf(int fd) {
    std::string text(static_cast<size_t>(lseek(fd, 0, SEEK_END)), '\0');
    require(pread(fd, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
    static const sp<zstats::ZstatsPullerService> service(new zstats::ZstatsPullerService());
    if (size == 0) return 0;
    const int64_t caller = kCallers[data[0] % 3];
    android::IPCThreadState::self()->restoreCallingIdentity(caller << 32 | 1);
    const auto args = splitArguments(std::string(reinterpret_cast<const char*>(data + 1), size - 1));

    zstats::gLogLevel = 1;
    const android::base::unique_fd out(memfd_create("dump", MFD_CLOEXEC));
    const android::status_t status = service->dump(out.get(), args);
    const std::string text = contentOf(out.get());
    const int32_t level = zstats::gLogLevel;
    if (caller == 2000) {
        require(status == android::PERMISSION_DENIED && text.empty() && level == 1);
        return 0;
    }
    require(status == android::OK && level >= 0);
    require(text.rfind("ZstatsPullerService::dump\n", 0) == 0);
    require(args.size() == 2 || level == 1);
    const std::string told = "set gLogLevel: " + std::to_string(level) + "\n";
    require(level == 1 || text.find(told) != std::string::npos);
    return 0;
}
