#include "daemon/base/SystemHelpers.h"

#include <android-base/properties.h>
#include <android-base/strings.h>
#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <sys/system_properties.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>

#include "daemon/base/Log.h"
#include "daemon/base/Numbers.h"

namespace zstats {

using android::base::unique_fd;

namespace {

constexpr size_t kReadChunk = 1024;

/** Calls `take` for each token of a copy of `text`; returns -1 when the copy fails. */
template <typename Take>
int forEachToken(const char* text, const char* delimiters, Take take) {
    // strtok_r writes into its text.
    const std::unique_ptr<char, decltype(&free)> copy(strdup(text), &free);
    if (copy == nullptr) return -1;
    char* state = nullptr;
    for (const char* token = strtok_r(copy.get(), delimiters, &state); token != nullptr;
         token = strtok_r(nullptr, delimiters, &state)) {
        take(token);
    }
    return 0;
}

void copyPropertyValue(void* cookie, const char* /*name*/, const char* value, uint32_t /*serial*/) {
    auto* result = static_cast<std::string*>(cookie);
    if (result != nullptr) *result = value;
}

bool computePreVersion() {
    if (getSystemProperty("persist.sys.alwayson.switch") == "true") return true;
    return android::base::GetBoolProperty("ro.sys.engineering.pre", false);
}

}  // namespace

int readFile(const std::string& path, std::string* out) {
    const unique_fd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!fd.ok()) {
        // Many devices lack some of the files, so the line needs level 2.
        ZLOG_AT(2, DEBUG, "Open %s failed(%s)", path.c_str(), strerror(errno));
        return -1;
    }
    const int result = readToEnd(fd.get(), out);
    if (result < 0) ZLOG(ERROR, "Read file %s failed.(%s)", path.c_str(), strerror(errno));
    return result;
}

int readToEnd(int fd, std::string* out) {
    static thread_local char buffer[kReadChunk];  // zeroed once, not for each file
    int total = 0;
    for (;;) {
        const ssize_t count = read(fd, buffer, sizeof(buffer));
        if (count <= 0) return count == 0 ? total : -1;
        out->append(buffer, static_cast<size_t>(count));
        total += static_cast<int>(count);
    }
}

int splitString(const char* text, const char* delimiters, std::vector<int>* out) {
    return forEachToken(text, delimiters,
                        [out](const char* token) { out->push_back(leadingInt32(token)); });
}

int splitString(const char* text, const char* delimiters, std::vector<long long>* out) {
    return forEachToken(text, delimiters,
                        [out](const char* token) { out->push_back(strtoll(token, nullptr, 0)); });
}

std::string getSystemProperty(const std::string& name) {
    std::string value;
    const prop_info* info = __system_property_find(name.c_str());
    if (info != nullptr) __system_property_read_callback(info, copyPropertyValue, &value);
    ZLOG_AT(2, DEBUG, "property %s:%s", name.c_str(), value.c_str());
    return value;
}

int64_t getBootTimeMs() {
    timespec now = {};
    if (clock_gettime(CLOCK_BOOTTIME, &now) != 0) return -1;
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

bool isQcomPlatform() {
    return getSystemProperty("ro.hardware") == "qcom";
}

bool isReleaseType() {
    const std::string releaseType = getSystemProperty("ro.build.release_type");
    ZLOG(INFO, "%s: releaseType: %s", __func__, releaseType.c_str());
    return releaseType != "false";
}

bool isPreVersion() {
    static const bool preVersion = computePreVersion();
    return preVersion;
}

bool isCommercialVersion() {
    static const bool commercial = isReleaseType() && !isPreVersion();
    return commercial;
}

bool checkMemTotalOk(int thresholdKb) {
    return checkMemTotalOkAt("/proc/meminfo", thresholdKb);
}

bool checkMemTotalOkAt(const char* path, int thresholdKb) {
    int memTotal = -1;
    std::ifstream meminfo(path);
    if (!meminfo.is_open()) {
        // Unknown memory must not stop the daemon, so it counts as enough.
        ZLOG(INFO, "Failed to open /proc/meminfo");
        return true;
    }
    for (std::string line; std::getline(meminfo, line);) {
        if (!android::base::StartsWith(line, "MemTotal")) continue;
        // NOLINTNEXTLINE(cert-err34-c): a number beyond int is not expected
        if (sscanf(line.c_str(), "MemTotal:%*[ ]%d", &memTotal) != 1) {
            ZLOG(ERROR, "sscanf not match");
            return true;
        }
        break;
    }
    // Without a MemTotal line, memTotal is -1 and the device counts as small.
    ZLOG(INFO, "memTotal: %dKb", memTotal);
    return memTotal > thresholdKb;
}

}  // namespace zstats
