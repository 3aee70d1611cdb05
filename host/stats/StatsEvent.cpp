#include <stats_event.h>
#include <time.h>

#include <cstring>
#include <vector>

#include "host/stats/StatsEventFormat.h"
#include "host/stats/StatsSocketWriter.h"

using namespace zstats;

struct AStatsEvent {
    std::vector<uint8_t> bytes;
    size_t lastFieldPos = 0;  // of the type byte that counts annotations; 0 before the first
    size_t elements = 1;      // the time stamp
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

void appendSized(AStatsEvent* event, const void* data, size_t size) {
    append(event, static_cast<int32_t>(size));
    appendBytes(event, data, size);
}

void appendText(AStatsEvent* event, const char* text) {
    if (text == nullptr) text = "";
    appendSized(event, text, strlen(text));
}

void beginElement(AStatsEvent* event, EventType type) {
    event->lastFieldPos = event->bytes.size();
    append(event, static_cast<uint8_t>(type));
    ++event->elements;
}

template <typename T>
void writeNumber(AStatsEvent* event, EventType type, T value) {
    beginElement(event, type);
    append(event, value);
}

bool beginList(AStatsEvent* event, EventType elementType, size_t count) {
    if (count > kMaxCount) {
        event->errors |= kErrorListTooLong;
        return false;
    }
    beginElement(event, kTypeList);
    append(event, static_cast<uint8_t>(count));
    append(event, static_cast<uint8_t>(elementType));
    return true;
}

template <typename T>
void writeNumbers(AStatsEvent* event, EventType type, const T* elements, size_t count) {
    if (!beginList(event, type, count)) return;
    for (size_t i = 0; i < count; ++i) append(event, elements[i]);
}

/** Increments the annotation count of the last type byte; false at its maximum. */
bool beginAnnotation(AStatsEvent* event, uint8_t id, EventType type) {
    if (event->lastFieldPos == 0) {
        event->errors |= kErrorAnnotationWithoutField;
        return false;
    }
    if (id > kMaxCount) {
        event->errors |= kErrorAnnotationIdTooLarge;
        return false;
    }
    // After an overflow there may be no type byte. The error was recorded then.
    if (event->lastFieldPos >= event->bytes.size()) return false;
    uint8_t& typeByte = event->bytes[event->lastFieldPos];
    if (typeByte >> 4 >= static_cast<int>(kMaxAnnotations)) {
        event->errors |= kErrorTooManyAnnotations;
        return false;
    }
    typeByte = static_cast<uint8_t>(typeByte + 0x10);
    append(event, id);
    append(event, static_cast<uint8_t>(type));
    return true;
}

uint64_t storedTimestamp(const AStatsEvent* event) {
    uint64_t timestampNs = 0;
    memcpy(&timestampNs, &event->bytes[kTimestampOffset], sizeof(timestampNs));
    return timestampNs;
}

/** Keeps the time stamp and the atom id (0 without one), and adds a field with the error bits. */
void replaceFieldsByErrors(AStatsEvent* event) {
    event->bytes.resize(event->atomIdSet ? kFieldsOffset : kAtomIdTypeOffset);
    event->bytes.resize(kFieldsOffset, 0);
    // Annotations of the atom id were removed with the fields.
    event->bytes[kAtomIdTypeOffset] = kTypeInt32;
    event->elements = 2;
    writeNumber(event, kTypeError, event->errors);
}

void buildWithLimit(AStatsEvent* event, size_t maxBytes) {
    if (event->built) return;
    if (storedTimestamp(event) == 0) event->errors |= kErrorNoTimestamp;
    if (!event->atomIdSet) event->errors |= kErrorNoAtomId;
    if (event->elements > kMaxCount) event->errors |= kErrorTooManyFields;
    if (event->bytes.size() > maxBytes) event->errors |= kErrorOverflow;
    if (event->errors != 0) replaceFieldsByErrors(event);
    event->bytes[kCountOffset] = static_cast<uint8_t>(event->elements);
    event->built = true;
}

int64_t bootTimeNs() {
    timespec now = {};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return now.tv_sec * INT64_C(1000000000) + now.tv_nsec;
}

}  // namespace

AStatsEvent* AStatsEvent_obtain() {
    auto* event = new AStatsEvent;
    event->bytes.reserve(kUsualBytes);
    append(event, static_cast<uint8_t>(kTypeObject));
    append(event, uint8_t{0});
    append(event, static_cast<uint8_t>(kTypeInt64));
    append(event, bootTimeNs());
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

void AStatsEvent_writeByteArray(AStatsEvent* event, const uint8_t* buf, size_t numBytes) {
    beginElement(event, kTypeByteArray);
    appendSized(event, buf, numBytes);
}

void AStatsEvent_writeString(AStatsEvent* event, const char* value) {
    beginElement(event, kTypeString);
    appendText(event, value);
}

void AStatsEvent_writeAttributionChain(AStatsEvent* event, const uint32_t* uids,
                                       const char* const* tags, uint8_t numNodes) {
    if (numNodes > kMaxCount) {
        event->errors |= kErrorChainTooLong;
        return;
    }
    beginElement(event, kTypeAttributionChain);
    append(event, numNodes);
    for (size_t i = 0; i < numNodes; ++i) {
        append(event, uids[i]);
        appendText(event, tags[i]);
    }
}

void AStatsEvent_writeInt32Array(AStatsEvent* event, const int32_t* elements, size_t numElements) {
    writeNumbers(event, kTypeInt32, elements, numElements);
}

void AStatsEvent_writeInt64Array(AStatsEvent* event, const int64_t* elements, size_t numElements) {
    writeNumbers(event, kTypeInt64, elements, numElements);
}

void AStatsEvent_writeFloatArray(AStatsEvent* event, const float* elements, size_t numElements) {
    writeNumbers(event, kTypeFloat, elements, numElements);
}

void AStatsEvent_writeBoolArray(AStatsEvent* event, const bool* elements, size_t numElements) {
    writeNumbers(event, kTypeBool, elements, numElements);
}

void AStatsEvent_writeStringArray(AStatsEvent* event, const char* const* elements,
                                  size_t numElements) {
    if (!beginList(event, kTypeString, numElements)) return;
    for (size_t i = 0; i < numElements; ++i) appendText(event, elements[i]);
}

void AStatsEvent_addBoolAnnotation(AStatsEvent* event, uint8_t annotationId, bool value) {
    if (beginAnnotation(event, annotationId, kTypeBool)) append(event, static_cast<uint8_t>(value));
}

void AStatsEvent_addInt32Annotation(AStatsEvent* event, uint8_t annotationId, int32_t value) {
    if (beginAnnotation(event, annotationId, kTypeInt32)) append(event, value);
}

uint8_t* AStatsEvent_getBuffer(AStatsEvent* event, size_t* size) {
    if (size != nullptr) *size = event->bytes.size();
    return event->bytes.data();
}

uint32_t AStatsEvent_getErrors(AStatsEvent* event) {
    return event->errors;
}

uint32_t AStatsEvent_getAtomId(AStatsEvent* event) {
    return event->atomId;
}

void AStatsEvent_overwriteTimestamp(AStatsEvent* event, uint64_t timestampNs) {
    memcpy(&event->bytes[kTimestampOffset], &timestampNs, sizeof(timestampNs));
}
