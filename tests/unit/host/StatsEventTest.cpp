#include <android-base/chrono_utils.h>
#include <android-base/hex.h>
#include <gtest/gtest.h>
#include <stats_event.h>

#include <cstring>
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

constexpr size_t kTimestampOffset = 3;
constexpr size_t kFaultyBytes = 21;

/** An unbuilt event with a fixed time stamp, and an atom id unless it is 0. */
EventPtr newEvent(uint32_t atomId = 150005) {
    EventPtr event(AStatsEvent_obtain(), &AStatsEvent_release);
    const uint64_t timestamp = 0x1122334455667788;
    memcpy(AStatsEvent_getBuffer(event.get(), nullptr) + kTimestampOffset, &timestamp,
           sizeof(timestamp));
    if (atomId != 0) AStatsEvent_setAtomId(event.get(), atomId);
    return event;
}

std::vector<uint8_t> bytesOf(const EventPtr& event) {
    size_t size = 0;
    const uint8_t* bytes = AStatsEvent_getBuffer(event.get(), &size);
    return {bytes, bytes + size};
}

std::optional<ReadEvent> read(const EventPtr& event) {
    const std::vector<uint8_t> bytes = bytesOf(event);
    return readEvent(bytes.data(), bytes.size());
}

TEST(StatsEventTest, encodesEachKindOfFieldToTheByte) {
    const std::string id = "00f5490200";
    const struct {
        Writer write;
        std::string hex;   // of the bytes after the time stamp
        FieldValue field;  // as it is read back
    } cases[] = {{[](auto* e) { AStatsEvent_writeInt32(e, 7); }, id + "0007000000", 7},
                 {[](auto* e) { AStatsEvent_writeInt64(e, -1); }, id + "01ffffffffffffffff",
                  int64_t{-1}},
                 {[](auto* e) { AStatsEvent_writeFloat(e, 1.25f); }, id + "040000a03f", 1.25f},
                 {[](auto* e) { AStatsEvent_writeBool(e, true); }, id + "0501", true},
                 {[](auto* e) { AStatsEvent_writeString(e, "ab"); }, id + "02020000006162", "ab"s},
                 {[](auto* e) { AStatsEvent_writeString(e, nullptr); }, id + "0200000000", ""s}};
    for (const auto& row : cases) {
        SCOPED_TRACE(row.hex);
        const EventPtr event = newEvent();
        row.write(event.get());
        EXPECT_FALSE(read(event)->built);
        EXPECT_EQ(read(event)->fields, std::vector{row.field});
        AStatsEvent_build(event.get());
        const std::vector<uint8_t> bytes = bytesOf(event);
        EXPECT_EQ(android::base::HexString(bytes.data(), bytes.size()),
                  "0703018877665544332211" + row.hex);
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
    EXPECT_EQ(result->errors, errors);
    EXPECT_EQ(result->valid(), errors == 0);
    EXPECT_EQ(result->atomId, static_cast<int32_t>(atomId));
    EXPECT_TRUE(errors == 0 || bytesOf(event).size() == kFaultyBytes);
}

void writeInts(AStatsEvent* event, size_t count) {
    for (size_t i = 0; i < count; ++i) AStatsEvent_writeInt32(event, 1);
}
void writeText(AStatsEvent* event, size_t size) {
    AStatsEvent_writeString(event, std::string(size, 'x').c_str());
}

TEST(StatsEventTest, replacesTheFieldsOfAFaultyEventByItsErrors) {
    constexpr size_t kLongestText = 50 * 1024 - 16 - 5;
    const struct {
        uint32_t errors, atomId;
        Writer write;
    } cases[] = {{0, 1, [](auto* e) { writeInts(e, 125); }},
                 {kErrorTooManyFields, 1, [](auto* e) { writeInts(e, 126); }},
                 {0, 1, [](auto* e) { writeText(e, kLongestText); }},
                 {kErrorOverflow, 1, [](auto* e) { writeText(e, kLongestText + 1); }},
                 {kErrorNoAtomId, 0, [](auto*) {}},
                 {kErrorTooManyFields, 1, [](auto* e) { writeInts(e, 300); }},
                 // The id must come first; a second one is ignored.
                 {0, 1, [](auto* e) { AStatsEvent_setAtomId(e, 2); }},
                 {kErrorNoAtomId | kErrorAtomIdMisplaced, 0,
                  [](auto* e) {
                      AStatsEvent_writeInt64(e, -1);
                      AStatsEvent_setAtomId(e, 5);
                  }},
                 {kErrorNoAtomId | kErrorTooManyFields, 0, [](auto* e) { writeInts(e, 128); }},
                 {kErrorOverflow, 1, [](auto* e) {
                      for (int i = 0; i < 20; ++i) writeText(e, 4090);
                      size_t size = 0;
                      AStatsEvent_getBuffer(e, &size);
                      EXPECT_LE(size, kMaxPulledBytes);
                  }}};
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
