#include <gtest/gtest.h>
#include <stats_event.h>
#include <time.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/stats/EventReader.h"
#include "host/stats/StatsEventFormat.h"

namespace zstats {
namespace {

using EventPtr = std::unique_ptr<AStatsEvent, decltype(&AStatsEvent_release)>;
using Writer = std::function<void(AStatsEvent*)>;

constexpr uint64_t kTimestamp = 0x1122334455667788;

/** An unbuilt event with a fixed time stamp and, unless it is 0, an atom id. */
EventPtr newEvent(uint32_t atomId = 150005) {
    EventPtr event(AStatsEvent_obtain(), &AStatsEvent_release);
    AStatsEvent_overwriteTimestamp(event.get(), kTimestamp);
    if (atomId != 0) AStatsEvent_setAtomId(event.get(), atomId);
    return event;
}

size_t sizeOf(const EventPtr& event) {
    size_t size = 0;
    AStatsEvent_getBuffer(event.get(), &size);
    return size;
}

std::string hexOf(const EventPtr& event, size_t from = 0) {
    size_t size = 0;
    const uint8_t* bytes = AStatsEvent_getBuffer(event.get(), &size);
    std::string hex;
    char digits[3];
    for (size_t i = from; i < size; ++i) {
        snprintf(digits, sizeof(digits), "%02x", bytes[i]);
        hex += digits;
    }
    return hex;
}

std::optional<ReadEvent> read(const EventPtr& event) {
    size_t size = 0;
    const uint8_t* bytes = AStatsEvent_getBuffer(event.get(), &size);
    return readEvent(bytes, size);
}

void writeInts(AStatsEvent* event, int count) {
    for (int i = 0; i < count; ++i) AStatsEvent_writeInt32(event, i);
}

TEST(StatsEventTest, encodesAWholeEventToTheByte) {
    EventPtr event = newEvent();
    AStatsEvent_writeInt32(event.get(), 7);
    AStatsEvent_writeInt64(event.get(), -1);
    AStatsEvent_writeFloat(event.get(), 1.25f);
    AStatsEvent_writeString(event.get(), "ab");
    AStatsEvent_writeBool(event.get(), true);
    AStatsEvent_build(event.get());
    EXPECT_EQ(hexOf(event),
              "0707018877665544332211"
              "00f5490200"
              "0007000000"
              "01ffffffffffffffff"
              "040000a03f"
              "02020000006162"
              "0501");
    EXPECT_EQ(AStatsEvent_getErrors(event.get()), 0u);
    EXPECT_EQ(AStatsEvent_getAtomId(event.get()), 150005u);
}

struct FieldCase {
    const char* name;
    Writer write;
    const char* hex;  // of what follows the atom id's value
};

TEST(StatsEventTest, encodesEachKindOfFieldAndAnnotation) {
    static const uint8_t bytes[] = {1, 2};
    static const uint32_t uids[] = {1000, 2};
    static const char* const tags[] = {"a", nullptr};
    static const int32_t ints[] = {1, -1};
    static const int64_t longs[] = {2};
    static const float floats[] = {1.25f};
    static const bool bools[] = {true, false};
    const FieldCase cases[] = {
            {"byte array", [](auto* e) { AStatsEvent_writeByteArray(e, bytes, 2); },
             "06020000000102"},
            {"no bytes", [](auto* e) { AStatsEvent_writeByteArray(e, nullptr, 0); }, "0600000000"},
            {"null string", [](auto* e) { AStatsEvent_writeString(e, nullptr); }, "0200000000"},
            {"chain", [](auto* e) { AStatsEvent_writeAttributionChain(e, uids, tags, 2); },
             "0902e80300000100000061"
             "0200000000000000"},
            {"int32 list", [](auto* e) { AStatsEvent_writeInt32Array(e, ints, 2); },
             "03020001000000ffffffff"},
            {"int64 list", [](auto* e) { AStatsEvent_writeInt64Array(e, longs, 1); },
             "0301010200000000000000"},
            {"float list", [](auto* e) { AStatsEvent_writeFloatArray(e, floats, 1); },
             "0301040000a03f"},
            {"bool list", [](auto* e) { AStatsEvent_writeBoolArray(e, bools, 2); }, "0302050100"},
            {"string list", [](auto* e) { AStatsEvent_writeStringArray(e, tags, 2); },
             "030202010000006100000000"},
            {"empty list", [](auto* e) { AStatsEvent_writeInt32Array(e, nullptr, 0); }, "030000"},
            {"annotated field",
             [](auto* e) {
                 AStatsEvent_writeBool(e, false);
                 AStatsEvent_addBoolAnnotation(e, 1, true);
                 AStatsEvent_addInt32Annotation(e, 127, 3);
             },
             "2500"
             "010501"
             "7f0003000000"},
    };
    for (const FieldCase& fieldCase : cases) {
        SCOPED_TRACE(fieldCase.name);
        EventPtr event = newEvent();
        fieldCase.write(event.get());
        AStatsEvent_build(event.get());
        EXPECT_EQ(hexOf(event, kFieldsOffset), fieldCase.hex);
        EXPECT_TRUE(read(event)->valid());
        EXPECT_EQ(read(event)->fields.size(), 1u);
    }
}

TEST(StatsEventTest, annotatesTheAtomItself) {
    EventPtr event = newEvent();
    AStatsEvent_addBoolAnnotation(event.get(), 1, true);
    AStatsEvent_writeInt32(event.get(), 5);
    AStatsEvent_build(event.get());
    EXPECT_EQ(hexOf(event, kAtomIdTypeOffset),
              "10f5490200"
              "010501"
              "0005000000");
    EXPECT_EQ(read(event)->fields, std::vector<FieldValue>{5});
}

constexpr int kManyTags = 200;

const char* const* manyTags() {
    static const std::vector<const char*> tags(kManyTags, "t");
    return tags.data();
}

/** Writes that may be faulty, each with a count or an id. */
void setLateId(AStatsEvent* event, int id) {
    AStatsEvent_writeInt64(event, -1);
    AStatsEvent_setAtomId(event, static_cast<uint32_t>(id));
}
void setId(AStatsEvent* event, int id) {
    AStatsEvent_setAtomId(event, static_cast<uint32_t>(id));
}
void stamp(AStatsEvent* event, int time) {
    AStatsEvent_overwriteTimestamp(event, static_cast<uint64_t>(time));
}
void annotate(AStatsEvent* event, int id) {
    AStatsEvent_addInt32Annotation(event, static_cast<uint8_t>(id), 1);
}
void annotateOften(AStatsEvent* event, int count) {
    for (int i = 0; i < count; ++i) AStatsEvent_addBoolAnnotation(event, 1, true);
}
void writeList(AStatsEvent* event, int count) {
    AStatsEvent_writeStringArray(event, manyTags(), static_cast<size_t>(count));
}
void writeChain(AStatsEvent* event, int count) {
    const uint32_t uids[kManyTags] = {};
    AStatsEvent_writeAttributionChain(event, uids, manyTags(), static_cast<uint8_t>(count));
}
void writeListAndInts(AStatsEvent* event, int count) {
    writeList(event, count);
    writeInts(event, count);
}

TEST(StatsEventTest, replacesTheFieldsOfAFaultyEventByItsErrors) {
    const struct {
        const char* name;
        uint32_t atomId;
        void (*write)(AStatsEvent* event, int argument);
        int argument;
        uint32_t errors;
    } cases[] = {
            {"no time stamp", 1, stamp, 0, kErrorNoTimestamp},
            {"no atom id", 0, writeInts, 0, kErrorNoAtomId},
            {"late atom id", 0, setLateId, 5, kErrorNoAtomId | kErrorAtomIdMisplaced},
            {"second atom id", 1, setId, 2, 0},
            {"no field", 0, annotateOften, 1, kErrorNoAtomId | kErrorAnnotationWithoutField},
            {"annotation id 127", 1, annotate, 127, 0},
            {"annotation id 128", 1, annotate, 128, kErrorAnnotationIdTooLarge},
            {"15 annotations", 1, annotateOften, 15, 0},
            {"16 annotations", 1, annotateOften, 16, kErrorTooManyAnnotations},
            {"125 fields", 1, writeInts, 125, 0},
            {"126 fields", 1, writeInts, 126, kErrorTooManyFields},
            {"300 fields", 1, writeInts, 300, kErrorTooManyFields},
            {"127 in a list", 1, writeList, 127, 0},
            {"128 in a list", 1, writeList, 128, kErrorListTooLong},
            {"127 nodes", 1, writeChain, 127, 0},
            {"128 nodes", 1, writeChain, 128, kErrorChainTooLong},
            {"three errors", 0, writeListAndInts, 128,
             kErrorNoAtomId | kErrorListTooLong | kErrorTooManyFields},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        EventPtr event = newEvent(row.atomId);
        row.write(event.get(), row.argument);
        AStatsEvent_build(event.get());
        const std::optional<ReadEvent> result = read(event);
        ASSERT_TRUE(result.has_value());
        EXPECT_EQ(AStatsEvent_getErrors(event.get()), row.errors);
        EXPECT_EQ(result->errors, row.errors);
        EXPECT_EQ(result->valid(), row.errors == 0);
        EXPECT_EQ(result->atomId, static_cast<int32_t>(row.atomId));
        EXPECT_TRUE(row.errors == 0 || sizeOf(event) == 21);
    }
}

TEST(StatsEventTest, hasRoomForExactly50KiB) {
    for (size_t excess : {0, 1}) {
        EventPtr event = newEvent();
        AStatsEvent_writeString(event.get(),
                                std::string(kMaxPulledBytes - 16 - 5 + excess, 'x').c_str());
        AStatsEvent_build(event.get());
        EXPECT_EQ(AStatsEvent_getErrors(event.get()), excess == 0 ? 0u : 4u);
        EXPECT_EQ(sizeOf(event), excess == 0 ? kMaxPulledBytes : 21);
    }
}

TEST(StatsEventTest, staysFaultyWhateverFollowsAnOverflow) {
    EventPtr event = newEvent();
    for (int i = 0; i < 20; ++i) {
        AStatsEvent_writeString(event.get(), std::string(4090, 'x').c_str());
        AStatsEvent_addBoolAnnotation(event.get(), 1, true);
    }
    EXPECT_LE(sizeOf(event), kMaxPulledBytes);
    AStatsEvent_build(event.get());
    EXPECT_EQ(AStatsEvent_getErrors(event.get()), kErrorOverflow);
    EXPECT_EQ(hexOf(event, kFieldsOffset), "0f04000000");
}

TEST(StatsEventTest, keepsTheFirstBuildAndIsSpoiltByLaterWrites) {
    EventPtr event = newEvent();
    AStatsEvent_writeInt32(event.get(), 1);
    EXPECT_FALSE(read(event)->built);
    AStatsEvent_build(event.get());
    AStatsEvent_build(event.get());
    EXPECT_TRUE(read(event)->valid());
    AStatsEvent_writeInt32(event.get(), 2);
    AStatsEvent_build(event.get());
    EXPECT_EQ(read(event)->trailingBytes, 5u);
    EXPECT_EQ(read(event)->fields, std::vector<FieldValue>{1});
    EXPECT_FALSE(read(event)->valid());
}

TEST(StatsEventTest, isStampedWithTheTimeSinceBoot) {
    auto now = [] {
        timespec time = {};
        clock_gettime(CLOCK_BOOTTIME, &time);
        return time.tv_sec * INT64_C(1000000000) + time.tv_nsec;
    };
    const int64_t before = now();
    EventPtr event(AStatsEvent_obtain(), &AStatsEvent_release);
    const int64_t after = now();
    AStatsEvent_setAtomId(event.get(), 1);
    AStatsEvent_build(event.get());
    EXPECT_LE(before, read(event)->timestampNs);
    EXPECT_GE(after, read(event)->timestampNs);
}

}  // namespace
}  // namespace zstats
