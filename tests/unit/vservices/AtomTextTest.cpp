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
    EXPECT_EQ(atomText({150030, "", {event({31, 30500})}}),
              "150030  battery_temperature             degrees 31 \u00b0C, "
              "milli_degrees 30500 m\u00b0C\n");
    const std::string level = atomText({150005, "", {event({80, 82, -2, 2})}});
    EXPECT_EQ(linesOf(level).size(), 1u);
    EXPECT_NE(level.find("difference -2 %, absolute_difference 2 %"), std::string::npos);
}

TEST(AtomText, saysPlainlyThatThereIsNothing) {
    EXPECT_NE(atomText({150014, "", {}}).find("  no event (this atom never has one)\n"),
              std::string::npos);
    EXPECT_NE(atomText({150112, "", {}}).find("  no event\n"), std::string::npos);
    EXPECT_NE(atomText({150112, "no answer within 2000 ms", {}})
                      .find("FAILED: no answer within 2000 ms\n"),
              std::string::npos);
}

TEST(AtomText, drawsResidenciesAgainstTheLongest) {
    const PulledAtom gpu{150029,
                         "",
                         {event({160000, int64_t{300}}), event({680000, int64_t{100}}),
                          event({900000, int64_t{0}}), event({950000, int64_t{-5}})}};
    const auto lines = linesOf(atomText(gpu));
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_NE(lines[0].find("4 events, one for each GPU frequency, since the pull before"),
              std::string::npos);
    EXPECT_NE(lines[2].find("160000 kHz   300  ########################   75.0 %"), std::string::npos)
            << lines[2];
    EXPECT_NE(lines[3].find("########................   25.0 %"), std::string::npos) << lines[3];
    EXPECT_NE(lines[4].find("........................    0.0 %"), std::string::npos) << lines[4];
    EXPECT_NE(lines[5].find("........................    0.0 %"), std::string::npos) << lines[5];
}

TEST(AtomText, drawsNothingWhenNoTimePassed) {
    const PulledAtom idle{150121, "", {event({0, int64_t{0}}), event({1, int64_t{0}})}};
    EXPECT_EQ(atomText(idle).find('#'), std::string::npos);
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
    const PulledAtom odd{150121, "", {event({}), event({1, int64_t{5}, 7})}};
    EXPECT_NE(atomText(odd).find("field_3 7"), std::string::npos);
    const PulledAtom mixed{150029, "", {event({std::string("text"), std::string("text")})}};
    EXPECT_NE(atomText(mixed).find("text kHz   text  ...."), std::string::npos) << atomText(mixed);
    EXPECT_EQ(eventText(1, {true}), "field_1 true");
}

}  // namespace
}  // namespace zstats::vdevice
