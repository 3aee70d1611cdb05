#include <gtest/gtest.h>

#include "cli/lib/atoms/AtomCsv.h"

namespace zstats::cli {
namespace {

TEST(AtomCsvTest, writesACellForEachField) {
    EXPECT_EQ("elapsed_ns,time,real_level,ui_level,difference,absolute_difference",
              csvHeading(150005));
    EXPECT_EQ("elapsed_ns,time", csvHeading(150999));
    const struct {
        int32_t id;
        std::multimap<int, AtomValue> fields;
        int64_t wallNs;
        const char* cells;
    } kCases[] = {
            {150005, {{1, 80}, {2, 82}, {3, -2}, {4, 2}}, 0, "7,,80,82,-2,2"},
            {150005,
             {{2, 82}, {6, true}},
             1'000'000'000,
             "7,1970-01-01T00:00:01.000000000Z,,82,,,,true"},
            {150005, {}, 0, "7,,,,,"},
            {150999, {{1, std::string("a b")}, {2, 1.5f}}, 0, "7,,a b,1.5"},
            {150999, {{1, std::string("a,b")}}, 0, "7,,\"a,b\""},
            {150999, {{1, std::string("a\"b")}}, 0, "7,,\"a\"\"b\""},
            {150999, {{1, std::string("a\nb\r")}}, 0, "7,,\"a\nb\r\""},
            {150999, {{1, int64_t{1}}, {1, int64_t{2}}}, 0, "7,,1;2"},
    };
    for (const auto& row : kCases) {
        RecordedEvent event;
        event.id = row.id;
        event.fields = row.fields;
        event.elapsedNs = 7;
        event.wallNs = row.wallNs;
        EXPECT_EQ(row.cells, csvRow(event));
    }
}

}  // namespace
}  // namespace zstats::cli
