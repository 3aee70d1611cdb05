#include "tests/support/libraries/FakeLibraries.h"

#include <mutex>
#include <utility>

#include "vendor/include/feature_switch.h"
#include "vendor/include/stats_write.h"

struct AStatsManager_PullAtomMetadata {
    int64_t coolDownMillis = -1;
    int64_t timeoutMillis = -1;
    int32_t additiveFields = -1;
};

namespace zstats::libraries {
namespace {

std::mutex gLock;  // guards all below
Answers gAnswers;
std::vector<std::string> gCalls;
zbpf_connect_request gRequest;
std::vector<Registration> gRegistrations;
int gMetadataInUse = 0;

template <typename... Arguments>
void record(std::string call, const Arguments&... arguments) {
    [[maybe_unused]] const auto text = [](const auto& argument) {
        if constexpr (std::is_arithmetic_v<std::decay_t<decltype(argument)>>) {
            return std::to_string(argument);
        } else {
            return std::string(argument);
        }
    };
    const std::lock_guard<std::mutex> lock(gLock);
    gCalls.push_back((std::move(call) + ... + (" " + text(arguments))));
}

Answers answers() {
    const std::lock_guard<std::mutex> lock(gLock);
    return gAnswers;
}

}  // namespace

void reset(Answers answers) {
    const std::lock_guard<std::mutex> lock(gLock);
    gAnswers = std::move(answers);
    gCalls.clear();
    gRegistrations.clear();
}

std::vector<std::string> takeCalls() {
    const std::lock_guard<std::mutex> lock(gLock);
    return std::exchange(gCalls, {});
}

zbpf_connect_request lastRequest() {
    const std::lock_guard<std::mutex> lock(gLock);
    return gRequest;
}

std::vector<Registration> registrations() {
    const std::lock_guard<std::mutex> lock(gLock);
    return gRegistrations;
}

int metadataInUse() {
    const std::lock_guard<std::mutex> lock(gLock);
    return gMetadataInUse;
}

}  // namespace zstats::libraries

using namespace zstats::libraries;

bool isOsFeatureEnabled(const char* feature) {
    record("isOsFeatureEnabled", feature);
    return answers().featureEnabled;
}

int zbpf_is_enable() {
    record("zbpf_is_enable");
    return answers().bpfEnabled;
}

int zbpf_btf_support() {
    record("zbpf_btf_support");
    return answers().bpfTypes;
}

int zbpf_region_support() {
    record("zbpf_region_support");
    return answers().bpfRegion;
}

int zbpf_connect_start(zbpf_connect_request* request) {
    record("zbpf_connect_start", request->path, request->name);
    const std::lock_guard<std::mutex> lock(gLock);
    gRequest = *request;
    return gAnswers.bpfConnection < 0 ? gAnswers.bpfConnection : gAnswers.bpfConnection++;
}

int zbpf_connect_exit(int fd, const char* name) {
    record("zbpf_connect_exit", fd, name);
    if (const auto atExit = answers().atExit) atExit();
    return 0;
}

int NordaFramework::stats_write(int atomId, int type, int pe, int lnr, int bnr, const char* info) {
    record("stats_write", atomId, type, pe, lnr, bnr, info);
    return 0;
}

AStatsManager_PullAtomMetadata* AStatsManager_PullAtomMetadata_obtain() {
    const std::lock_guard<std::mutex> lock(gLock);
    ++gMetadataInUse;
    return new AStatsManager_PullAtomMetadata;
}

void AStatsManager_PullAtomMetadata_release(AStatsManager_PullAtomMetadata* metadata) {
    const std::lock_guard<std::mutex> lock(gLock);
    --gMetadataInUse;
    delete metadata;
}

void AStatsManager_PullAtomMetadata_setCoolDownMillis(AStatsManager_PullAtomMetadata* metadata,
                                                      int64_t millis) {
    metadata->coolDownMillis = millis;
}

void AStatsManager_PullAtomMetadata_setTimeoutMillis(AStatsManager_PullAtomMetadata* metadata,
                                                     int64_t millis) {
    metadata->timeoutMillis = millis;
}

void AStatsManager_PullAtomMetadata_setAdditiveFields(AStatsManager_PullAtomMetadata* metadata,
                                                      int32_t* fields, int32_t count) {
    metadata->additiveFields = fields == nullptr ? count : -1;
}

void AStatsManager_setPullAtomCallback(int32_t tag, AStatsManager_PullAtomMetadata* metadata,
                                       AStatsManager_PullAtomCallback callback, void* cookie) {
    record("setPullAtomCallback", tag, metadata->coolDownMillis, metadata->timeoutMillis,
           metadata->additiveFields);
    const std::lock_guard<std::mutex> lock(gLock);
    gRegistrations.push_back({tag, callback, cookie});
}
