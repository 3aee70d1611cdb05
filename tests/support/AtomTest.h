#pragma once

#include <algorithm>

#include "host/stats/EventList.h"
#include "host/stats/EventReader.h"
#include "tests/support/FakeServices.h"
#include "tests/support/HandlerTest.h"
#include "tests/support/OwnEntries.h"

namespace zstats {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/** Log lines as "W text", then events as "[1, 2L, 1.5f, true, "text"]", 2L being an int64. */
using Transcript = Lines;
using Nodes = std::vector<std::pair<std::string, std::string>>;

inline std::string textOf(const FieldValue& field) {
    constexpr const char* kSuffixes[] = {"", "L", "f", "", ""};
    const auto print = [](const auto& value) { return testing::PrintToString(value); };
    return std::visit(print, field) + kSuffixes[field.index()];
}

/** Each event of a pull as statsd decodes it. */
inline Transcript textsOf(const AStatsEventList& list, int32_t tag) {
    Transcript texts;
    for (const std::vector<uint8_t>& bytes : encodedEvents(list)) {
        const ReadEvent event = readEvent(bytes.data(), bytes.size()).value();
        EXPECT_TRUE(event.atomId == tag && event.errors == 0 && event.trailingBytes == 0);
        std::string text;
        for (const FieldValue& field : event.fields) {
            text += (text.empty() ? "[" : ", ") + textOf(field);
        }
        texts.push_back(text + (event.built ? "]" : "] unbuilt"));
    }
    return texts;
}

/** The log lines for an empty node, and for one that the service refuses. */
inline std::string emptyNode(const std::string& key) {
    return "E PullAtomCallback getContentByHandleKey read nodeKey: " + key + ", len=0";
}
constexpr char kRefused[] = "W handleFactory read failed.";

/** One pull of an atom that reads nodes. */
struct NodeRow {
    int32_t tag;
    Nodes nodes;  // in the order of the reads
    Transcript expected;
    const char* hardware = "qcom";
};

/** A connected handle factory, and the answers of atoms with all their log lines. */
class AtomTest : public HandlerTest {
  protected:
    AtomTest() {
        callback.getValueByHandleKey("connect");
        log.clear();
    }
    ~AtomTest() override {
        EXPECT_EQ(ownEntries("fd"), mDescriptors);
        // A pull must not wait for a service.
        EXPECT_THAT(inprocess::lookUps(), testing::Each(testing::StartsWith("check ")));
    }

    void useQcom() { __system_property_set("ro.hardware", "qcom"); }

    /** The result code must be ignored, so it is never 0. */
    void set(const Nodes& nodes) {
        for (const auto& [key, text] : nodes) factory.set(key, text, -7);
    }

    /** The lines since the last call, without the level-2 lines of lower layers. */
    Transcript lines() {
        Transcript lines = takeLines();
        const auto below = [](const std::string& line) {
            return line.rfind("D property ", 0) == 0 || line.rfind("D Open ", 0) == 0 ||
                   line.rfind("D getContentByHandleKey ", 0) == 0 ||
                   line.rfind("D PullAtomCallback get", 0) == 0;
        };
        lines.erase(std::remove_if(lines.begin(), lines.end(), below), lines.end());
        return lines;
    }

    /** The log lines and events of `append`. */
    template <typename Append>
    Transcript transcriptOf(int32_t tag, Append append) {
        log.clear();
        AStatsEventList list;
        append(&list);
        Transcript transcript = lines();
        for (std::string& text : textsOf(list, tag)) transcript.push_back(std::move(text));
        return transcript;
    }

    Transcript pull(int32_t tag, ZStatsPullAtomCallback& from) {
        return transcriptOf(tag, [&](auto* list) { pullInto(list, from, tag); });
    }
    Transcript pull(int32_t tag) { return pull(tag, callback); }

    /** Expects `action`, which returns its lines and events, to return these texts at each level. */
    template <typename Action>
    void expectAtLevels(const Transcript& expected, Action action) {
        for (const int32_t level : {0, 2, 1}) {
            gLogLevel = level;
            log.clear();
            EXPECT_EQ(action(), atLevel(level, expected)) << "at level " << level;
        }
    }

    /** Expects this answer at each level. For atoms without state between pulls. */
    void expectPulls(int32_t tag, const Transcript& expected) {
        SCOPED_TRACE(tag);
        expectAtLevels(expected, [&] { return pull(tag); });
    }

    /** Expects each row's answer. Only the row's nodes are set, and each is read once. */
    void expectRows(std::initializer_list<NodeRow> rows) {
        for (const NodeRow& row : rows) {
            SCOPED_TRACE(testing::PrintToString(row.nodes));
            __system_property_set("ro.hardware", row.hardware);
            set(row.nodes);
            expectPulls(row.tag, row.expected);
            const size_t before = factory.reads().size();
            pull(row.tag);
            const auto reads = factory.reads();
            std::map<std::string, std::vector<size_t>> places;
            for (size_t i = before; i < reads.size(); ++i) places[reads[i].first].push_back(i);
            size_t next = before;
            for (const auto& node : row.nodes) {
                ASSERT_EQ(places[node.first].size(), 1u) << node.first;
                EXPECT_GE(places[node.first][0], next) << node.first << " is read too early";
                next = places[node.first][0];
                factory.fail(node.first);
            }
        }
    }

    FakeHandleFactory factory;

  private:
    const std::set<int> mDescriptors = ownEntries("fd");
};

}  // namespace zstats
