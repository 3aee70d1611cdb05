#include <gtest/gtest.h>

#include "host/stats/EventReader.h"

namespace zstats {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(EventReaderTest, judgesAsStatsdDoes) {
    const Bytes id = {0x00, 42, 0, 0, 0};
    const auto with = [&](std::initializer_list<uint8_t> more) {
        Bytes bytes = id;
        bytes.insert(bytes.end(), more);
        return bytes;
    };
    const struct {
        const char* name;
        Bytes tail;  // what follows the time stamp
        uint8_t elements;
        bool readable, valid;
    } cases[] = {{"no field", id, 2, true, true},
                 {"one element", {}, 1, false, false},
                 {"an id that is not counted", id, 1, false, false},
                 {"byte behind the last element", with({0}), 2, true, false},
                 {"error field", with({0x0f, 4, 0, 0, 0}), 3, true, false},
                 {"error field without a bit", with({0x0f, 0, 0, 0, 0}), 3, false, false},
                 {"id of another type", {0x01, 42, 0, 0, 0, 0, 0, 0, 0}, 2, false, false},
                 {"unknown type", with({0x0a, 0, 0, 0, 0}), 3, false, false},
                 {"nested object", with({0x07, 0}), 3, false, false},
                 {"negative length", with({0x02, 0xff, 0xff, 0xff, 0xff}), 3, false, false},
                 {"length beyond the end", with({0x02, 2, 0, 0, 0, 'a'}), 3, false, false},
                 {"list", with({0x03, 0, 0x00}), 3, false, false},
                 {"field with an annotation", with({0x15, 1, 1, 0x05, 1}), 3, false, false}};
    for (const auto& rawCase : cases) {
        SCOPED_TRACE(rawCase.name);
        Bytes bytes = {0x07, rawCase.elements, 0x01, 1, 0, 0, 0, 0, 0, 0, 0};
        bytes.insert(bytes.end(), rawCase.tail.begin(), rawCase.tail.end());
        EXPECT_EQ(readEvent(bytes.data(), bytes.size()).has_value(), rawCase.readable);
        EXPECT_EQ(isValidEvent(bytes.data(), bytes.size()), rawCase.valid);
    }
}

}  // namespace
}  // namespace zstats
