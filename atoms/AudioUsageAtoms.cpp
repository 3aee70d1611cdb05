#include "atoms/AudioUsageAtoms.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>

#include "atoms/AtomEvent.h"
#include "daemon/ZStatsPullAtomCallback.h"
#include "daemon/base/Log.h"
#include "daemon/base/Numbers.h"
#include "sources/AudioClient.h"

namespace zstats {
namespace {

enum class UahType { kText, kInt32, kInt64 };

/** The types of a record's fields after the first, which is text. */
constexpr UahType kUahTypes[] = {
        UahType::kInt32, UahType::kInt32, UahType::kText,  UahType::kInt32,
        UahType::kInt64, UahType::kInt64, UahType::kInt64, UahType::kInt64,
        UahType::kInt32, UahType::kInt32, UahType::kInt64, UahType::kInt32,
        UahType::kInt64, UahType::kText,  UahType::kInt64, UahType::kInt32,
};

/**
 * Replaces the commas in `text` by NULs and stores its fields, without them, in `fields`. A comma
 * at the end adds no field.
 */
void splitFields(std::string& text, std::vector<std::string_view>& fields) {
    fields.clear();
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find(',', start), text.size());
        fields.emplace_back(&text[start], end - start);
        text[end] = '\0';
        start = end + 1;
    }
}

/** `text` ends with a NUL. Text without a number is written as 0. */
void writeUahField(AStatsEvent* event, UahType type, std::string_view text) {
    switch (type) {
        case UahType::kText:
            AStatsEvent_writeString(event, text.data());
            break;
        case UahType::kInt32:
            AStatsEvent_writeInt32(event, leadingInt32(text));
            break;
        case UahType::kInt64:
            AStatsEvent_writeInt64(event, leadingInt64(text));
            break;
    }
}

}  // namespace

void appendUahEvents(const std::vector<UahRecord>& records, int32_t atomTag, AStatsEventList* data) {
    std::string text;
    std::vector<std::string_view> fields;
    for (const UahRecord& record : records) {
        const auto* held = std::get_if<std::string>(&record.value);
        text.assign(held != nullptr ? std::string_view(*held) : std::string_view());
        splitFields(text, fields);
        AStatsEvent* event = beginEvent(data, atomTag);
        AStatsEvent_writeString(event,
                                text.c_str());  // the first field, NUL-terminated by splitFields
        if (fields.size() != 1 + std::size(kUahTypes)) {
            // The event stays unbuilt, so statsd drops it, and the pull ends.
            ZLOG(ERROR, "handleUahDataset error data size");
            return;
        }
        auto field = fields.begin();
        for (const UahType type : kUahTypes) writeUahField(event, type, *++field);
        AStatsEvent_build(event);
    }
}

void ZStatsPullAtomCallback::handleAudioPAPower(int32_t atomTag, AStatsEventList* data) {
    const std::optional<std::string> text = readAmplifierMonitor();
    if (text) appendEvent(data, atomTag, static_cast<float>(atof(text->c_str())));
}

void ZStatsPullAtomCallback::handleUahDataset(int32_t atomTag, AStatsEventList* data) {
    std::vector<UahRecord> records;
    if (Uah_fetch_dataset(&records) < 0) return;
    appendUahEvents(records, atomTag, data);
}

}  // namespace zstats
