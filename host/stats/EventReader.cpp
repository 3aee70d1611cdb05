#include "host/stats/EventReader.h"

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

    bool takeText(std::string* text) {
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

/** `Stored` is the number's type in the event. */
template <typename T, typename Stored = T>
bool takeAs(Cursor& in, FieldValue* value) {
    Stored number{};
    if (!in.take(&number)) return false;
    *value = static_cast<T>(number);
    return true;
}

bool takeValue(Cursor& in, uint8_t type, FieldValue* value) {
    switch (type) {
        case kTypeInt32:
            return takeAs<int32_t>(in, value);
        case kTypeInt64:
            return takeAs<int64_t>(in, value);
        case kTypeFloat:
            return takeAs<float>(in, value);
        case kTypeBool:
            return takeAs<bool, uint8_t>(in, value);
        case kTypeString:
            return in.takeText(&value->emplace<std::string>());
        default:
            return false;
    }
}

/** One element; an error field is added to `errors` instead. */
bool takeElement(Cursor& in, ReadEvent* event) {
    uint8_t type = 0;
    if (!in.take(&type)) return false;
    if (type == kTypeError) {
        uint32_t bits = 0;
        if (!in.take(&bits)) return false;
        event->errors |= bits;
        return bits != 0;
    }
    FieldValue value;
    if (!takeValue(in, type, &value)) return false;
    event->fields.push_back(std::move(value));
    return true;
}

bool takeAtomId(Cursor& in, ReadEvent* event) {
    uint8_t type = 0;
    return in.take(&type) && type == kTypeInt32 && in.take(&event->atomId);
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
