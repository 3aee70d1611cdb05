#include <gtest/gtest.h>

#include <sstream>

#include "vdevice/common/AtomText.h"

namespace zstats::vdevice {
namespace {

PulledEvent event(std::vector<AtomValue> fields) {
    return {true, std::move(fields)};
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

TEST(AtomText, putsASmallAtomIntoOneLine) {
    const struct {
        PulledAtom atom;
        const char* end;
    } kCases[] = {
            {{150030, "", {event({31, 30500})}},
             "150030  battery_temperature             degrees 31 \u00b0C, milli_degrees 30500 m"},
            {{150005, "", {event({80, 82, -2, 2})}}, "difference -2 %, absolute_difference 2 %\n"},
            {{150014, "", {}}, "  no event (this atom never has one)\n"},
            {{150112, "", {}}, "  no event\n"},
            {{150112, "no answer within 2000 ms", {}}, "FAILED: no answer within 2000 ms\n"},
    };
    for (const auto& item : kCases) {
        const auto lines = linesOf(atomText(item.atom));
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_NE((lines[0] + "\n").find(item.end), std::string::npos) << lines[0];
    }
}

TEST(AtomText, drawsResidenciesAgainstTheLongest) {
    const PulledAtom gpu{150029,
                         "",
                         {event({160000, int64_t{300}}), event({680000, int64_t{100}}),
                          event({900000, int64_t{0}}), event({950000, int64_t{-5}})}};
    const auto lines = linesOf(atomText(gpu));
    ASSERT_EQ(lines.size(), 6u);
    constexpr const char* kParts[] = {"4 events, one for each GPU frequency, since the pull before",
                                      "",
                                      "160000 kHz   300  ########################   75.0 %",
                                      "########................   25.0 %",
                                      "........................    0.0 %",
                                      "........................    0.0 %"};
    for (size_t i = 0; i < lines.size(); ++i) {
        EXPECT_NE(lines[i].find(kParts[i]), std::string::npos) << lines[i];
    }
}

TEST(AtomText, writesWideEventsOutAndKeepsLinesShort) {
    std::vector<AtomValue> record(17, 1234567);
    record[0] = std::string("com.norda.camera");
    const PulledAtom uah{150136, "", {event(record), {false, {std::string("half")}}}};
    const auto lines = linesOf(atomText(uah));
    ASSERT_GE(lines.size(), 4u);
    EXPECT_EQ(lines[1].substr(0, 36), "        - column_1 com.norda.camera,");
    for (const std::string& line : lines) EXPECT_LE(line.size(), kTextWidth) << line;
    EXPECT_EQ(lines.back(), "        - (left unbuilt: statsd drops it), column_1 half");
}

TEST(AtomText, survivesEventsThatTheCatalogueDoesNotExpect) {
    const std::string text("text");
    const struct {
        PulledAtom atom;
        const char* part;
    } kCases[] = {
            {{150121, "", {event({}), event({1, int64_t{5}, 7})}}, "field_3 7"},
            {{150029, "", {event({text, text})}}, "text kHz   text  ...."},
            // No time passed.
            {{150121, "", {event({0, int64_t{0}}), event({1, int64_t{0}})}}, "0 ms  ...."},
    };
    for (const auto& item : kCases) {
        EXPECT_NE(atomText(item.atom).find(item.part), std::string::npos) << atomText(item.atom);
    }
    EXPECT_EQ(eventText(1, {true}), "field_1 true");
}

}  // namespace
}  // namespace zstats::vdevice
