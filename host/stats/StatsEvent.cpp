#include <stats_event.h>
#include <utils/SystemClock.h>

#include <cstring>
#include <vector>

#include "host/stats/StatsEventFormat.h"
#include "host/stats/StatsSocketWriter.h"

using namespace zstats;

struct AStatsEvent {
    std::vector<uint8_t> bytes;
    size_t elements = 1;  // the time stamp
    uint32_t atomId = 0;
    bool atomIdSet = false;
    bool built = false;
    uint32_t errors = 0;
};

namespace {

/** Initial capacity in bytes, enough for most atoms. */
constexpr size_t kUsualBytes = 256;

void appendBytes(AStatsEvent* event, const void* data, size_t size) {
    std::vector<uint8_t>& bytes = event->bytes;
    // A difference, because a sum could overflow.
    if (size > kMaxPulledBytes || bytes.size() > kMaxPulledBytes - size) {
        event->errors |= kErrorOverflow;
        return;
    }
    const auto* first = static_cast<const uint8_t*>(data);
    if (size != 0) bytes.insert(bytes.end(), first, first + size);
}

template <typename T>
void append(AStatsEvent* event, T value) {
    appendBytes(event, &value, sizeof(value));
}

template <typename T>
void writeNumber(AStatsEvent* event, EventType type, T value) {
    append(event, static_cast<uint8_t>(type));
    append(event, value);
    ++event->elements;
}

/** Keeps the time stamp and the atom id (0 without one), and adds a field with the error bits. */
void replaceFieldsByErrors(AStatsEvent* event) {
    if (!event->atomIdSet) event->bytes.resize(kAtomIdTypeOffset);
    // Without an atom id, the zeros are the type int32 and the number.
    event->bytes.resize(kFieldsOffset, 0);
    event->elements = 2;
    writeNumber(event, kTypeError, event->errors);
}

void buildWithLimit(AStatsEvent* event, size_t maxBytes) {
    if (event->built) return;
    if (!event->atomIdSet) event->errors |= kErrorNoAtomId;
    if (event->elements > kMaxElements) event->errors |= kErrorTooManyFields;
    if (event->bytes.size() > maxBytes) event->errors |= kErrorOverflow;
    if (event->errors != 0) replaceFieldsByErrors(event);
    event->bytes[kCountOffset] = static_cast<uint8_t>(event->elements);
    event->built = true;
}

}  // namespace

AStatsEvent* AStatsEvent_obtain() {
    auto* event = new AStatsEvent;
    event->bytes.reserve(kUsualBytes);
    append(event, static_cast<uint8_t>(kTypeObject));
    append(event, uint8_t{0});
    append(event, static_cast<uint8_t>(kTypeInt64));
    append(event, android::elapsedRealtimeNano());
    return event;
}

void AStatsEvent_build(AStatsEvent* event) {
    buildWithLimit(event, kMaxPulledBytes);
}

int AStatsEvent_write(AStatsEvent* event) {
    buildWithLimit(event, kMaxPushedBytes);
    return StatsSocketWriter::instance().write(event->bytes.data(), event->bytes.size(),
                                               event->atomId);
}

void AStatsEvent_release(AStatsEvent* event) {
    delete event;
}

void AStatsEvent_setAtomId(AStatsEvent* event, uint32_t atomId) {
    if (event->atomIdSet) return;
    if (event->elements > 1) {
        event->errors |= kErrorAtomIdMisplaced;
        return;
    }
    event->atomIdSet = true;
    event->atomId = atomId;
    writeNumber(event, kTypeInt32, atomId);
}

void AStatsEvent_writeInt32(AStatsEvent* event, int32_t value) {
    writeNumber(event, kTypeInt32, value);
}

void AStatsEvent_writeInt64(AStatsEvent* event, int64_t value) {
    writeNumber(event, kTypeInt64, value);
}

void AStatsEvent_writeFloat(AStatsEvent* event, float value) {
    writeNumber(event, kTypeFloat, value);
}

void AStatsEvent_writeBool(AStatsEvent* event, bool value) {
    writeNumber(event, kTypeBool, static_cast<uint8_t>(value));
}

void AStatsEvent_writeString(AStatsEvent* event, const char* value) {
    if (value == nullptr) value = "";
    const size_t size = strlen(value);
    writeNumber(event, kTypeString, static_cast<int32_t>(size));
    appendBytes(event, value, size);
}

uint8_t* AStatsEvent_getBuffer(AStatsEvent* event, size_t* size) {
    if (size != nullptr) *size = event->bytes.size();
    return event->bytes.data();
}
