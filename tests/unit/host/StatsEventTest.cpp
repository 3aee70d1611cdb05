#include <android-base/chrono_utils.h>
#include <gtest/gtest.h>
#include <stats_event.h>

#include <memory>
#include <string>
#include <vector>

#include "host/stats/EventReader.h"
#include "host/stats/StatsEventFormat.h"

namespace zstats {
namespace {

using namespace std::string_literals;
using EventPtr = std::unique_ptr<AStatsEvent, decltype(&AStatsEvent_release)>;
using Writer = void (*)(AStatsEvent* event);

constexpr size_t kFaultyBytes = 21;

/** An unbuilt event with a fixed time stamp, and an atom id unless it is 0. */
EventPtr newEvent(uint32_t atomId = 150005) {
    EventPtr event(AStatsEvent_obtain(), &AStatsEvent_release);
    AStatsEvent_overwriteTimestamp(event.get(), 0x1122334455667788);
    if (atomId != 0) AStatsEvent_setAtomId(event.get(), atomId);
    return event;
}

std::vector<uint8_t> bytesOf(const EventPtr& event) {
    size_t size = 0;
    const uint8_t* bytes = AStatsEvent_getBuffer(event.get(), &size);
    return {bytes, bytes + size};
}

std::string hexOf(const EventPtr& event) {
    std::string hex;
    for (const uint8_t byte : bytesOf(event)) {
        hex += "0123456789abcdef"[byte / 16];
        hex += "0123456789abcdef"[byte % 16];
    }
    return hex;
}

std::optional<ReadEvent> read(const EventPtr& event) {
    const std::vector<uint8_t> bytes = bytesOf(event);
    return readEvent(bytes.data(), bytes.size());
}

TEST(StatsEventTest, encodesEachKindOfFieldAndAnnotationToTheByte) {
    static const uint8_t bytes[] = {0, 'x'};
    static const uint32_t uids[] = {1000, 2};
    static const char* const tags[] = {"a", nullptr};
    static const int32_t ints[] = {1, -1};
    static const int64_t longs[] = {2};
    static const float floats[] = {1.25f};
    static const bool bools[] = {true, false};
    const std::string id = "00f5490200";
    const struct {
        Writer write;
        std::string hex;   // of the bytes after the time stamp
        FieldValue field;  // as it is read back
    } cases[] = {
            {[](auto* e) { AStatsEvent_writeInt32(e, 7); }, id + "0007000000", 7},
            {[](auto* e) { AStatsEvent_writeInt64(e, -1); }, id + "01ffffffffffffffff", int64_t{-1}},
            {[](auto* e) { AStatsEvent_writeFloat(e, 1.25f); }, id + "040000a03f", 1.25f},
            {[](auto* e) { AStatsEvent_writeBool(e, true); }, id + "0501", true},
            {[](auto* e) { AStatsEvent_writeString(e, "ab"); }, id + "02020000006162", "ab"s},
            {[](auto* e) { AStatsEvent_writeString(e, nullptr); }, id + "0200000000", ""s},
            {[](auto* e) { AStatsEvent_writeByteArray(e, bytes, 2); }, id + "06020000000078",
             "\0x"s},
            {[](auto* e) { AStatsEvent_writeByteArray(e, nullptr, 0); }, id + "0600000000", ""s},
            {[](auto* e) { AStatsEvent_writeAttributionChain(e, uids, tags, 2); },
             id + "0902e803000001000000610200000000000000", "[1000:a,2:]"s},
            {[](auto* e) { AStatsEvent_writeInt32Array(e, ints, 2); },
             id + "03020001000000ffffffff", "[1,-1]"s},
            {[](auto* e) { AStatsEvent_writeInt64Array(e, longs, 1); },
             id + "0301010200000000000000", "[2]"s},
            {[](auto* e) { AStatsEvent_writeFloatArray(e, floats, 1); }, id + "0301040000a03f",
             "[1.25]"s},
            {[](auto* e) { AStatsEvent_writeBoolArray(e, bools, 2); }, id + "0302050100",
             "[true,false]"s},
            {[](auto* e) { AStatsEvent_writeStringArray(e, tags, 2); },
             id + "030202010000006100000000", "[a,]"s},
            {[](auto* e) { AStatsEvent_writeInt32Array(e, nullptr, 0); }, id + "030000", "[]"s},
            // Annotations of the atom, then of its field.
            {[](auto* e) {
                 AStatsEvent_addBoolAnnotation(e, 1, true);
                 AStatsEvent_writeBool(e, false);
                 AStatsEvent_addBoolAnnotation(e, 1, true);
                 AStatsEvent_addInt32Annotation(e, 127, 3);
             },
             "10f549020001050125000105017f0003000000", false},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.hex);
        const EventPtr event = newEvent();
        row.write(event.get());
        EXPECT_FALSE(read(event)->built);
        EXPECT_EQ(read(event)->fields, std::vector{row.field});
        AStatsEvent_build(event.get());
        EXPECT_EQ(hexOf(event), "0703018877665544332211" + row.hex);
        EXPECT_TRUE(read(event)->valid());
        EXPECT_EQ(read(event)->timestampNs, 0x1122334455667788);
        EXPECT_EQ(read(event)->atomId, 150005);
        EXPECT_EQ(read(event)->fields, std::vector{row.field});
        for (std::vector<uint8_t> cut = bytesOf(event); !cut.empty();) {
            cut.pop_back();
            cut.shrink_to_fit();  // so that a sanitizer sees a read past the cut
            EXPECT_FALSE(isValidEvent(cut.data(), cut.size())) << cut.size();
        }
    }
}

/** Builds an event with these writes. It must report exactly these errors. */
template <typename Write>
void expectErrors(uint32_t errors, uint32_t atomId, Write write) {
    const EventPtr event = newEvent(atomId);
    write(event.get());
    AStatsEvent_build(event.get());
    const std::optional<ReadEvent> result = read(event);
    ASSERT_TRUE(result.has_value());
    EXPECT_EQ(AStatsEvent_getErrors(event.get()), errors);
    EXPECT_EQ(result->errors, errors);
    EXPECT_EQ(result->valid(), errors == 0);
    EXPECT_EQ(AStatsEvent_getAtomId(event.get()), atomId);
    EXPECT_EQ(result->atomId, static_cast<int32_t>(atomId));
    EXPECT_TRUE(errors == 0 || bytesOf(event).size() == kFaultyBytes);
}

void writeInts(AStatsEvent* event, size_t count) {
    for (size_t i = 0; i < count; ++i) AStatsEvent_writeInt32(event, 1);
}
void writeList(AStatsEvent* event, size_t count) {
    const std::vector<const char*> tags(count, "t");
    AStatsEvent_writeStringArray(event, tags.data(), count);
}
void writeChain(AStatsEvent* event, size_t count) {
    const std::vector<const char*> tags(count, "t");
    const std::vector<uint32_t> uids(count);
    AStatsEvent_writeAttributionChain(event, uids.data(), tags.data(), static_cast<uint8_t>(count));
}
void writeText(AStatsEvent* event, size_t size) {
    AStatsEvent_writeString(event, std::string(size, 'x').c_str());
}
void annotate(AStatsEvent* event, size_t id) {
    AStatsEvent_addInt32Annotation(event, static_cast<uint8_t>(id), 1);
}
void annotateOften(AStatsEvent* event, size_t count) {
    for (size_t i = 0; i < count; ++i) AStatsEvent_addBoolAnnotation(event, 1, true);
}

TEST(StatsEventTest, takesAllUpToItsLimits) {
    const struct {
        void (*write)(AStatsEvent* event, size_t argument);
        size_t largest;
        uint32_t error;  // after one more
    } cases[] = {
            {annotate, 127, kErrorAnnotationIdTooLarge},
            {annotateOften, 15, kErrorTooManyAnnotations},
            {writeInts, 125, kErrorTooManyFields},
            {writeList, 127, kErrorListTooLong},
            {writeChain, 127, kErrorChainTooLong},
            {writeText, 50 * 1024 - 16 - 5, kErrorOverflow},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.error);
        expectErrors(0, 1, [&](auto* e) { row.write(e, row.largest); });
        expectErrors(row.error, 1, [&](auto* e) { row.write(e, row.largest + 1); });
    }
}

TEST(StatsEventTest, replacesTheFieldsOfAFaultyEventByItsErrors) {
    const struct {
        uint32_t errors, atomId;
        Writer write;
    } cases[] = {
            {kErrorNoTimestamp, 1, [](auto* e) { AStatsEvent_overwriteTimestamp(e, 0); }},
            {kErrorNoAtomId, 0, [](auto*) {}},
            {kErrorNoAtomId | kErrorAnnotationWithoutField, 0, [](auto* e) { annotate(e, 1); }},
            {kErrorTooManyFields, 1, [](auto* e) { writeInts(e, 300); }},
            // The id must come first; a second one is ignored.
            {0, 1, [](auto* e) { AStatsEvent_setAtomId(e, 2); }},
            {kErrorNoAtomId | kErrorAtomIdMisplaced, 0,
             [](auto* e) {
                 AStatsEvent_writeInt64(e, -1);
                 AStatsEvent_setAtomId(e, 5);
             }},
            {kErrorNoAtomId | kErrorListTooLong | kErrorTooManyFields, 0,
             [](auto* e) {
                 writeList(e, 128);
                 writeInts(e, 128);
             }},
            {kErrorOverflow, 1,
             [](auto* e) {
                 for (int i = 0; i < 20; ++i) {
                     writeText(e, 4090);
                     annotate(e, 1);
                 }
                 size_t size = 0;
                 AStatsEvent_getBuffer(e, &size);
                 EXPECT_LE(size, kMaxPulledBytes);
             }},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.errors);
        expectErrors(row.errors, row.atomId, row.write);
    }
}

TEST(StatsEventTest, keepsTheFirstBuildAndIsSpoiltByLaterWrites) {
    const EventPtr event = newEvent();
    writeInts(event.get(), 1);
    EXPECT_FALSE(read(event)->built);
    AStatsEvent_build(event.get());
    AStatsEvent_build(event.get());
    EXPECT_TRUE(read(event)->valid());
    writeInts(event.get(), 1);
    AStatsEvent_build(event.get());
    EXPECT_EQ(read(event)->trailingBytes, 5u);
    EXPECT_EQ(read(event)->fields, std::vector<FieldValue>{1});
    EXPECT_FALSE(read(event)->valid());
}

TEST(StatsEventTest, isStampedWithTheTimeSinceBoot) {
    const auto now = [] { return android::base::boot_clock::now().time_since_epoch().count(); };
    const int64_t before = now();
    const EventPtr event(AStatsEvent_obtain(), &AStatsEvent_release);
    const int64_t after = now();
    AStatsEvent_setAtomId(event.get(), 1);
    AStatsEvent_build(event.get());
    EXPECT_LE(before, read(event)->timestampNs);
    EXPECT_GE(after, read(event)->timestampNs);
}

}  // namespace
}  // namespace zstats
