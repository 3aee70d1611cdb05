#include "host/stats/EventReader.h"

#include <cstdio>
#include <cstring>

#include "host/stats/StatsEventFormat.h"

namespace zstats {
namespace {

/** Reads values from the front of a byte range. Each read fails when too few bytes are left. */
class Cursor {
  public:
    Cursor(const uint8_t* bytes, size_t size) : mNext(bytes), mLeft(size) {}

    size_t left() const { return mLeft; }

    template <typename T>
    bool take(T* value) {
        if (mLeft < sizeof(T)) return false;
        memcpy(value, mNext, sizeof(T));
        skip(sizeof(T));
        return true;
    }

    bool takeSized(std::string* text) {
        int32_t size = 0;
        if (!take(&size) || size < 0 || static_cast<size_t>(size) > mLeft) return false;
        text->assign(reinterpret_cast<const char*>(mNext), static_cast<size_t>(size));
        skip(static_cast<size_t>(size));
        return true;
    }

  private:
    void skip(size_t count) {
        mNext += count;
        mLeft -= count;
    }

    const uint8_t* mNext;
    size_t mLeft;
};

template <typename T>
bool takeAs(Cursor& in, FieldValue* value) {
    T number{};
    if (!in.take(&number)) return false;
    *value = number;
    return true;
}

bool takeBool(Cursor& in, FieldValue* value) {
    uint8_t byte = 0;
    if (!in.take(&byte)) return false;
    *value = byte != 0;
    return true;
}

bool takeText(Cursor& in, FieldValue* value) {
    std::string text;
    if (!in.takeSized(&text)) return false;
    *value = std::move(text);
    return true;
}

bool takeScalar(Cursor& in, uint8_t type, FieldValue* value) {
    switch (type) {
        case kTypeInt32:
            return takeAs<int32_t>(in, value);
        case kTypeInt64:
            return takeAs<int64_t>(in, value);
        case kTypeFloat:
            return takeAs<float>(in, value);
        case kTypeBool:
            return takeBool(in, value);
        case kTypeString:
        case kTypeByteArray:
            return takeText(in, value);
        default:
            return false;
    }
}

std::string toText(const FieldValue& value) {
    if (const auto* text = std::get_if<std::string>(&value)) return *text;
    if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "true" : "false";
    if (const auto* number = std::get_if<int32_t>(&value)) return std::to_string(*number);
    if (const auto* number = std::get_if<int64_t>(&value)) return std::to_string(*number);
    char digits[32];
    snprintf(digits, sizeof(digits), "%.9g", static_cast<double>(std::get<float>(value)));
    return digits;
}

bool takeListElement(Cursor& in, uint8_t type, std::string* text) {
    FieldValue value;
    if (!takeScalar(in, type, &value)) return false;
    *text = toText(value);
    return true;
}

bool takeNode(Cursor& in, uint8_t, std::string* text) {
    int32_t uid = 0;
    std::string tag;
    if (!in.take(&uid) || !in.takeSized(&tag)) return false;
    *text = std::to_string(uid) + ":" + tag;
    return true;
}

bool takePair(Cursor& in, uint8_t, std::string* text) {
    int32_t key = 0;
    uint8_t type = 0;
    FieldValue value;
    if (!in.take(&key) || !in.take(&type) || !takeScalar(in, type, &value)) return false;
    *text = std::to_string(key) + ":" + toText(value);
    return true;
}

/** A counted sequence of parts, as one text in `brackets`. */
bool takeGroup(Cursor& in, uint8_t type, FieldValue* value, const char* brackets,
               bool (*takePart)(Cursor&, uint8_t, std::string*)) {
    uint8_t count = 0;
    uint8_t elementType = 0;
    if (!in.take(&count) || (type == kTypeList && !in.take(&elementType))) return false;
    std::string text(1, brackets[0]);
    for (unsigned i = 0; i < count; ++i) {
        std::string part;
        if (!takePart(in, elementType, &part)) return false;
        if (i != 0) text += ',';
        text += part;
    }
    *value = text + brackets[1];
    return true;
}

bool takeValue(Cursor& in, uint8_t type, FieldValue* value) {
    switch (type) {
        case kTypeList:
            return takeGroup(in, type, value, "[]", takeListElement);
        case kTypeAttributionChain:
            return takeGroup(in, type, value, "[]", takeNode);
        case kTypeKeyValuePairs:
            return takeGroup(in, type, value, "{}", takePair);
        default:
            return takeScalar(in, type, value);
    }
}

bool skipAnnotations(Cursor& in, unsigned count) {
    for (; count > 0; --count) {
        uint8_t id = 0;
        uint8_t type = 0;
        FieldValue ignored;
        if (!in.take(&id) || !in.take(&type)) return false;
        if ((type != kTypeBool && type != kTypeInt32) || !takeScalar(in, type, &ignored)) {
            return false;
        }
    }
    return true;
}

/** One element with its annotations; an error field is added to `errors` instead. */
bool takeElement(Cursor& in, ReadEvent* event) {
    uint8_t typeByte = 0;
    if (!in.take(&typeByte)) return false;
    const uint8_t type = typeByte & 0x0f;
    if (type == kTypeError) {
        uint32_t bits = 0;
        if (!in.take(&bits) || bits == 0) return false;
        event->errors |= bits;
        return skipAnnotations(in, typeByte >> 4);
    }
    FieldValue value;
    if (!takeValue(in, type, &value) || !skipAnnotations(in, typeByte >> 4)) return false;
    event->fields.push_back(std::move(value));
    return true;
}

bool takeAtomId(Cursor& in, ReadEvent* event) {
    uint8_t typeByte = 0;
    return in.take(&typeByte) && (typeByte & 0x0f) == kTypeInt32 && in.take(&event->atomId) &&
           skipAnnotations(in, typeByte >> 4);
}

}  // namespace

std::optional<ReadEvent> readEvent(const uint8_t* bytes, size_t size) {
    Cursor in(bytes, size);
    ReadEvent event;
    uint8_t object = 0;
    uint8_t count = 0;
    uint8_t timeType = 0;
    if (!in.take(&object) || object != kTypeObject || !in.take(&count)) return std::nullopt;
    if (!in.take(&timeType) || timeType != kTypeInt64 || !in.take(&event.timestampNs)) {
        return std::nullopt;
    }
    if (count == 0) {
        if (takeAtomId(in, &event)) {
            while (takeElement(in, &event)) {
            }
        }
        return event;
    }
    event.built = true;
    if (count < 2 || !takeAtomId(in, &event)) return std::nullopt;
    for (unsigned i = 2; i < count; ++i) {
        if (!takeElement(in, &event)) return std::nullopt;
    }
    event.trailingBytes = in.left();
    return event;
}

bool isValidEvent(const uint8_t* bytes, size_t size) {
    std::optional<ReadEvent> event = readEvent(bytes, size);
    return event.has_value() && event->valid();
}

}  // namespace zstats
