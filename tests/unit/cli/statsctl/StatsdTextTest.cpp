#include <gtest/gtest.h>

#include "cli/statsctl/StatsdText.h"

namespace zstats::cli {
namespace {

constexpr char kEvent[] = "Pull from 150112: { uid(-1) 1753 77 (150112)0x10000->1.250000[F]  }\n";

/** "TIME type value, ..." for each event, or why there are none. */
std::string told(int32_t tag, const std::string& text) {
    const auto events = parsePullText(tag, text);
    if (!events) return "not understood";
    std::string lines;
    for (const StreamedAtom& event : *events) {
        lines += std::to_string(event.id) + " at " + std::to_string(event.timestampNs) + ":";
        for (const AtomValue& value : event.fields) {
            lines += std::string(" ") + typeName(value) + " " + valueText(value) + ";";
        }
        lines += "\n";
    }
    return lines;
}

TEST(StatsdTextTest, readsThePullsThatStatsdPrints) {
    const struct {
        int32_t tag;
        std::string text, events;
    } kCases[] = {
            {150014, "Pull from 150014: Received 0 elements\n", ""},
            {150112, kEvent + std::string("Pull from 150112: Received 1 elements\n"),
             "150112 at 77: float 1.25;\n"},
            // The catalogue has a bool sixth; a text may look like what is around it.
            {150020,
             "Pull from 150020: { uid(-1) 1 2 (150020)0x10000->a[S] 0x10000-> b\n }[I] [S] "
             "0x20000->9223372036854775807[L]  }\n"
             "Pull from 150020: { uid(-1) 1 3 (150020)0x10000->[S] 0x20000->-1[L] 0x30000->0[L] "
             "0x40000->0[L] 0x50000->0[L] 0x60000->1[I]  }\n"
             "Pull from 150020: Received 2 elements\n",
             "150020 at 2: string a[S] 0x10000-> b\n }[I] ; int64 9223372036854775807;\n"
             "150020 at 3: string ; int64 -1; int64 0; int64 0; int64 0; bool true;\n"},
            {150999,
             "Pull from 150999: { uid(1000) 1 2 (150999)0x10000->-7[I] 0x20000->1e[S]  }\n"
             "Pull from 150999: Received 1 elements\n",
             "150999 at 2: int32 -7; string 1e;\n"}};
    for (const auto& row : kCases) EXPECT_EQ(row.events, told(row.tag, row.text));
}

TEST(StatsdTextTest, refusesWhatIsNoWholeAnswer) {
    const std::string whole = kEvent + std::string("Pull from 150112: Received 1 elements\n");
    for (size_t length = 0; length < whole.size(); ++length) {
        EXPECT_EQ("not understood", told(150112, whole.substr(0, length))) << length;
    }
    EXPECT_EQ("not understood", told(150112, whole + "x"));
    EXPECT_EQ("not understood", told(150005, whole));
    EXPECT_EQ("not understood",
              told(150112, kEvent + std::string("Pull from 150112: Received 2 elements\n")));
}

TEST(StatsdTextTest, readsWhatStatsdCounts) {
    const auto counts = parsePullCounts(
            "********Pushed Atom stats***********\n"
            "Atom 10->(total count)3, (error count)0, (registered count) 9\n"
            "********Pulled Atom stats***********\n"
            "Atom 150005->(total pull)7, (pull from cache)2, (pull failed)1, (min pull interval)1 "
            "\n"
            "  (average pull time nanos)4, (max pull time nanos)5, (data error)6\n"
            "  (pull timeout)8, (pull exceed max delay)0  (no puller found count)11\n"
            "  (registered count) 3, (unregistered count) 1  (binder call failed) 12\n"
            "  (pull timeout system uptime millis) 5,6\n"
            "Atom 150006->(total pull)1, (pull from cache)0, (registered count\n"
            "********Shutdown\n"
            "  (registered count) 5\n");
    std::string lines;
    for (const auto& [tag, count] : counts) {
        lines += std::to_string(tag);
        for (const int64_t number : {count.pulls, count.fromCache, count.timedOut, count.noPuller,
                                     count.callFailed, count.registered, count.unregistered}) {
            lines += " " + std::to_string(number);
        }
        lines += "\n";
    }
    EXPECT_EQ("150005 7 2 8 11 12 3 1\n150006 1 0 0 0 0 0 0\n", lines);
}

}  // namespace
}  // namespace zstats::cli
