// Arbitrary dump arguments, from callers that may dump and from one that may not.

#include <android-base/file.h>
#include <binder/IPCThreadState.h>

#include "daemon/ZstatsPullerService.h"
#include "daemon/base/Log.h"
#include "tests/fuzz/FuzzKit.h"

using namespace zstats::fuzz;

namespace {

/**
 * The arguments stand between NUL bytes. They reach the service as UTF-16, whatever the units are:
 * a byte beyond ASCII becomes a unit of its own, many of them halves of surrogate pairs.
 */
android::Vector<android::String16> splitArguments(const std::string& text) {
    android::Vector<android::String16> args;
    for (size_t at = 0; at < text.size(); at += strlen(&text[at]) + 1) {
        std::u16string units;
        for (const char* c = &text[at]; *c != '\0'; ++c) {
            const auto byte = static_cast<unsigned char>(*c);
            units += static_cast<char16_t>(byte < 0x80 ? byte : byte << 8);
        }
        args.add(android::String16(units.data(), units.size()));
    }
    return args;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr int64_t kCallers[] = {0, 1000, 2000};
    static const android::sp service(new zstats::ZstatsPullerService());
    if (size == 0) return 0;
    const int64_t caller = kCallers[data[0] % 3];
    android::IPCThreadState::self()->restoreCallingIdentity(caller << 32 | 1);
    const auto args = splitArguments(textOf(data + 1, size - 1));

    zstats::gLogLevel = 1;
    TemporaryFile out;
    const android::status_t status = service->dump(out.fd, args);
    std::string text;
    require(android::base::ReadFileToString(out.path, &text));
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
