#include "tests/support/libraries/FakeLibraries.h"

#include <android-base/stringprintf.h>

#include "vendor/include/feature_switch.h"
#include "vendor/include/stats_write.h"
#include "vendor/include/zbpf_connection.h"

zstats::Libraries zstats::gLibraries;

using android::base::StringPrintf;
using zstats::gLibraries;

struct AStatsManager_PullAtomMetadata {
    int64_t coolDownMillis = -1;
    int64_t timeoutMillis = -1;
    int32_t additiveFields = -1;
};

namespace {

int record(const std::string& call, int answer = 0) {
    gLibraries.calls.push_back(call);
    return answer;
}

}  // namespace

bool isOsFeatureEnabled(const char* feature) {
    return record(std::string("isOsFeatureEnabled ") + feature, gLibraries.featureEnabled) != 0;
}

int zbpf_is_enable() {
    return record("zbpf_is_enable", gLibraries.bpfEnabled);
}

int zbpf_btf_support() {
    return record("zbpf_btf_support", gLibraries.bpfTypes);
}

int zbpf_region_support() {
    return record("zbpf_region_support", gLibraries.bpfRegion);
}

int zbpf_connect_start(zbpf_connect_request* request) {
    return record(
            StringPrintf("zbpf_connect_start %s %s", request->path, request->name),
            gLibraries.bpfConnection < 0 ? gLibraries.bpfConnection : gLibraries.bpfConnection++);
}

int zbpf_connect_exit(int fd, const char* name) {
    if (gLibraries.atExit) gLibraries.atExit();
    return record(StringPrintf("zbpf_connect_exit %d %s", fd, name));
}

int NordaFramework::stats_write(int atomId, int type, int pe, int lnr, int bnr, const char* info) {
    return record(StringPrintf("stats_write %d %d %d %d %d %s", atomId, type, pe, lnr, bnr, info));
}

AStatsManager_PullAtomMetadata* AStatsManager_PullAtomMetadata_obtain() {
    ++gLibraries.metadataInUse;
    return new AStatsManager_PullAtomMetadata;
}

void AStatsManager_PullAtomMetadata_release(AStatsManager_PullAtomMetadata* metadata) {
    --gLibraries.metadataInUse;
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
    record("setPullAtomCallback " + std::to_string(tag) + " " +
           std::to_string(metadata->coolDownMillis) + " " +
           std::to_string(metadata->timeoutMillis) + " " + std::to_string(metadata->additiveFields));
    gLibraries.registrations.push_back({callback, cookie});
}
