#include "atoms/AudioUsageAtoms.h"

#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <utils/String16.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <string>

#include "atoms/AtomEvent.h"
#include "daemon/Log.h"
#include "daemon/ZStatsPullAtomCallback.h"
#include "daemon/base/Arithmetic.h"

namespace zstats {

using android::IBinder;
using android::Parcel;
using android::sp;

namespace {

constexpr uint32_t kAudioMonitorCode = 129;

enum class UahType { TEXT, INT32, INT64 };

constexpr std::array<UahType, 17> kUahTypes = {
        UahType::TEXT,  UahType::INT32, UahType::INT32, UahType::TEXT,  UahType::INT32,
        UahType::INT64, UahType::INT64, UahType::INT64, UahType::INT64, UahType::INT32,
        UahType::INT32, UahType::INT64, UahType::INT32, UahType::INT64, UahType::TEXT,
        UahType::INT64, UahType::INT32,
};
using UahFields = std::array<const char*, kUahTypes.size()>;

// Newer platforms mark the parcel's C strings as deprecated; the service takes nothing else.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
void writeMonitorRequest(Parcel& data) {
    data.writeCString("PAPowerMonitorResult");
}

const char* readMonitorReply(const Parcel& reply) {
    const char* text = reply.readCString();
    return text != nullptr ? text : "";
}
#pragma GCC diagnostic pop

/** The text of an error status; the least status has no positive counterpart and wraps. */
const char* describeStatus(android::status_t status) {
    return strerror(wrap32(-int64_t{status}));
}

/**
 * Ends each comma-separated field of `text` with a NUL in place, notes where the fields start, and
 * returns their number, which may exceed the array's. A comma at the end adds no field.
 */
size_t splitFields(std::string& text, UahFields& fields) {
    size_t count = 0;
    for (size_t start = 0; start < text.size(); ++count) {
        if (count < fields.size()) fields[count] = &text[start];
        const size_t comma = text.find(',', start);
        if (comma == std::string::npos) return count + 1;
        text[comma] = '\0';
        start = comma + 1;
    }
    return count;
}

void writeUahField(AStatsEvent* event, UahType type, const char* text) {
    switch (type) {
        case UahType::TEXT:
            AStatsEvent_writeString(event, text);
            break;
        case UahType::INT32:
            AStatsEvent_writeInt32(event, atoi(text));
            break;
        case UahType::INT64:
            AStatsEvent_writeInt64(event, atoll(text));
            break;
    }
}

}  // namespace

void appendUahEvents(const std::vector<UahRecord>& records, int32_t atomTag, AStatsEventList* data) {
    std::string text;
    for (const UahRecord& record : records) {
        const auto* held = std::get_if<std::string>(&record.value);
        text.assign(held != nullptr ? *held : "");
        UahFields fields = {""};
        const size_t count = splitFields(text, fields);
        AStatsEvent* event = beginEvent(data, atomTag);
        AStatsEvent_writeString(event, fields[0]);
        if (count != fields.size()) {
            // The event stays unbuilt, so that statsd drops it, and the pull ends here.
            ZLOG(ERROR, "handleUahDataset error data size");
            return;
        }
        for (size_t i = 1; i < fields.size(); ++i) writeUahField(event, kUahTypes[i], fields[i]);
        AStatsEvent_build(event);
    }
}

void ZStatsPullAtomCallback::handleAudioPAPower(int32_t atomTag, AStatsEventList* data) {
    const sp<android::IServiceManager> manager = android::defaultServiceManager();
    const sp<IBinder> service =
            manager != nullptr ? manager->checkService(android::String16("audio")) : nullptr;
    if (service == nullptr) {
        ZLOG(ERROR, "Cannot connect to service: audio");
        return;
    }
    Parcel request;
    Parcel reply;
    writeMonitorRequest(request);
    const android::status_t status = service->transact(kAudioMonitorCode, request, &reply, 0);
    if (status != android::OK) {
        ZLOG(ERROR, "Error invoking remote service: %s\n", describeStatus(status));
        return;
    }
    appendEvent(data, atomTag, static_cast<float>(atof(readMonitorReply(reply))));
}

void ZStatsPullAtomCallback::handleUahDataset(int32_t atomTag, AStatsEventList* data) {
    std::vector<UahRecord> records;
    if (Uah_fetch_dataset(&records) < 0) return;
    appendUahEvents(records, atomTag, data);
}

}  // namespace zstats
