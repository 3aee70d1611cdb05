#include <gtest/gtest.h>
#include <stats_event.h>

#include <memory>

#include "host/stats/EventList.h"
#include "host/stats/EventReader.h"

namespace zstats {
namespace {

using Bytes = std::vector<uint8_t>;

/** An event with every kind of element, some annotated. */
Bytes richEvent(bool build) {
    AStatsEventList list;
    AStatsEvent* event = AStatsEventList_addStatsEvent(&list);
    AStatsEvent_overwriteTimestamp(event, 99);
    AStatsEvent_setAtomId(event, 42);
    AStatsEvent_addBoolAnnotation(event, 1, true);
    AStatsEvent_writeInt32(event, -5);
    AStatsEvent_writeInt64(event, INT64_MIN);
    AStatsEvent_writeFloat(event, 0.5f);
    AStatsEvent_addInt32Annotation(event, 2, 8);
    AStatsEvent_writeBool(event, true);
    AStatsEvent_writeString(event, "text");
    const uint8_t bytes[] = {0, 'x'};
    AStatsEvent_writeByteArray(event, bytes, 2);
    const float floats[] = {0.5f, -1};
    AStatsEvent_writeFloatArray(event, floats, 2);
    const uint32_t uids[] = {1000};
    const char* const tags[] = {"tag"};
    AStatsEvent_writeAttributionChain(event, uids, tags, 1);
    if (build) AStatsEvent_build(event);
    return encodedEvents(list)[0];
}

std::vector<FieldValue> richFields() {
    return {-5,
            INT64_MIN,
            0.5f,
            true,
            std::string("text"),
            std::string("\0x", 2),
            std::string("[0.5,-1]"),
            std::string("[1000:tag]")};
}

std::optional<ReadEvent> read(const Bytes& bytes) {
    return readEvent(bytes.data(), bytes.size());
}

TEST(EventReaderTest, readsEveryKindOfFieldOfBuiltAndUnbuiltEvents) {
    for (const bool built : {true, false}) {
        const std::optional<ReadEvent> event = read(richEvent(built));
        ASSERT_TRUE(event.has_value());
        EXPECT_EQ(event->built, built);
        EXPECT_EQ(event->valid(), built);
        EXPECT_EQ(event->timestampNs, 99);
        EXPECT_EQ(event->atomId, 42);
        EXPECT_EQ(event->fields, richFields());
    }
}

TEST(EventReaderTest, refusesABuiltEventCutAnywhere) {
    const Bytes whole = richEvent(true);
    for (size_t size = 0; size < whole.size(); ++size) {
        // A copy of its own, so that a sanitizer sees a read past the cut.
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_FALSE(read(cut).has_value()) << size;
        EXPECT_FALSE(isValidEvent(cut.data(), cut.size())) << size;
    }
    EXPECT_TRUE(isValidEvent(whole.data(), whole.size()));
}

TEST(EventReaderTest, readsAnUnbuiltEventAsFarAsItGoes) {
    const Bytes whole = richEvent(false);
    size_t fields = 0;
    for (size_t size = 11; size < whole.size(); ++size) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        std::optional<ReadEvent> event = read(cut);
        ASSERT_TRUE(event.has_value()) << size;
        EXPECT_GE(event->fields.size(), fields) << size;
        fields = event->fields.size();
    }
    EXPECT_EQ(fields, richFields().size() - 1);
}

struct RawCase {
    const char* name;
    Bytes tail;  // what follows the time stamp
    uint8_t elements;
    bool readable;
    bool valid;
};

TEST(EventReaderTest, judgesAsStatsdDoes) {
    const Bytes id = {0x00, 42, 0, 0, 0};
    const auto with = [&](std::initializer_list<uint8_t> more) {
        Bytes bytes = id;
        bytes.insert(bytes.end(), more);
        return bytes;
    };
    const RawCase cases[] = {
            {"no field", id, 2, true, true},
            {"one element", {}, 1, false, false},
            {"byte behind the last element", with({0}), 2, true, false},
            {"error field", with({0x0f, 4, 0, 0, 0}), 3, true, false},
            {"error field without a bit", with({0x0f, 0, 0, 0, 0}), 3, false, false},
            {"id of another type", {0x01, 42, 0, 0, 0, 0, 0, 0, 0}, 2, false, false},
            {"unknown type", with({0x0a, 0, 0, 0, 0}), 3, false, false},
            {"nested object", with({0x07, 0}), 3, false, false},
            {"negative length", with({0x02, 0xff, 0xff, 0xff, 0xff}), 3, false, false},
            {"length beyond the end", with({0x02, 2, 0, 0, 0, 'a'}), 3, false, false},
            {"list of lists", with({0x03, 1, 0x03, 0}), 3, false, false},
            {"key-value pair", with({0x08, 1, 1, 0, 0, 0, 0x05, 1}), 3, true, true},
            {"pair holding a chain", with({0x08, 1, 1, 0, 0, 0, 0x09, 0}), 3, false, false},
            {"annotation of a text type", with({0x15, 1, 1, 0x02, 0, 0, 0, 0}), 3, false, false},
    };
    for (const RawCase& rawCase : cases) {
        SCOPED_TRACE(rawCase.name);
        Bytes bytes = {0x07, rawCase.elements, 0x01, 1, 0, 0, 0, 0, 0, 0, 0};
        bytes.insert(bytes.end(), rawCase.tail.begin(), rawCase.tail.end());
        EXPECT_EQ(read(bytes).has_value(), rawCase.readable);
        EXPECT_EQ(isValidEvent(bytes.data(), bytes.size()), rawCase.valid);
    }
}

}  // namespace
}  // namespace zstats
