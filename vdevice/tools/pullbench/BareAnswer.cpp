#include <stats_event.h>

#include <regex>
#include <string>
#include <type_traits>
#include <variant>

#include "daemon/base/Log.h"
#include "vdevice/tools/pullbench/Pullbench.h"

namespace zstats::vdevice {
namespace {

constexpr int32_t kBatteryLevel = 150005;
constexpr int32_t kSchedulingWords = 150141;

struct FieldWriter {
    AStatsEvent* event;

    void operator()(int32_t value) const { AStatsEvent_writeInt32(event, value); }
    void operator()(int64_t value) const { AStatsEvent_writeInt64(event, value); }
    void operator()(float value) const { AStatsEvent_writeFloat(event, value); }
    void operator()(bool value) const { AStatsEvent_writeBool(event, value); }
    void operator()(const std::string& value) const {
        AStatsEvent_writeString(event, value.c_str());
    }
};

}  // namespace

BareAnswer::BareAnswer(int32_t tag) : mTag(tag), mCalls(bareCallsOf(tag)) {}

void BareAnswer::give(AStatsEventList* data) const {
    for (const BareCall& call : mCalls) call();
    if (mTag == kSchedulingWords) const std::regex compiled("(cpu\\d):(\\d+)");
    for (const std::vector<FieldValue>& fields : mEvents) {
        AStatsEvent* event = AStatsEventList_addStatsEvent(data);
        AStatsEvent_setAtomId(event, static_cast<uint32_t>(mTag));
        for (const FieldValue& field : fields) std::visit(FieldWriter{event}, field);
        AStatsEvent_build(event);
    }
    if (mTag == kBatteryLevel) {
        ZLOG(DEBUG, "PullAtomCallback %s handler for realLevel = %d, uiLevel = %d",
             "handleBatteryLevel", 80, 82);
    }
}

AStatsManager_PullAtomCallbackReturn onBarePull(int32_t /*tag*/, AStatsEventList* data,
                                                void* cookie) {
    static_cast<const BareAnswer*>(cookie)->give(data);
    return AStatsManager_PULL_SUCCESS;
}

}  // namespace zstats::vdevice
