#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "daemon/AtomTable.h"
#include "vdevice/common/AtomCatalogue.h"
#include "vdevice/common/AtomSources.h"

namespace zstats::vdevice {
namespace {

TEST(Catalogue, hasExactlyTheAtomsThatTheDaemonRegisters) {
    std::vector<int32_t> tags;
    for (const AtomEntry& entry : kAtomTable) tags.push_back(entry.tag);
    std::sort(tags.begin(), tags.end());
    EXPECT_EQ(pulledAtomIds(), tags);
    EXPECT_TRUE(atomInfo(100207).pushed);
    EXPECT_EQ(atomInfo(100207).name, "kestrel_fatal_data");
    EXPECT_EQ(atomInfo(100208).name, "unknown");
}

TEST(Catalogue, namesEachAtomAndFieldOnce) {
    std::set<std::string> atoms;
    for (int32_t id : pulledAtomIds()) {
        const AtomInfo& info = atomInfo(id);
        EXPECT_TRUE(atoms.insert(info.name).second) << info.name;
        std::set<std::string> fields;
        for (const FieldInfo& field : info.fields) {
            EXPECT_TRUE(fields.insert(field.name).second) << info.name << " " << field.name;
        }
        EXPECT_EQ(info.fields.empty(), info.neverFilled) << info.name;
    }
}

TEST(Catalogue, knowsTheNumberOfFieldsOfEachFamily) {
    const struct {
        int32_t id;
        size_t fields;
    } kCases[] = {{150005, 4},  {150013, 5}, {150020, 13}, {150129, 3},
                  {150136, 17}, {150138, 3}, {150141, 7},  {100207, 5}};
    for (const auto& item : kCases) EXPECT_EQ(atomInfo(item.id).fields.size(), item.fields);
}

TEST(AtomSources, coverEveryAtomThatReadsSomething) {
    std::set<int32_t> without;
    for (int32_t id : pulledAtomIds()) {
        if (sourcesOf(id, "qcom").empty() || sourcesOf(id, "mt6897").empty()) without.insert(id);
    }
    EXPECT_EQ(without, std::set<int32_t>{150014});
    for (const AtomSource& source : atomSources()) {
        EXPECT_NE(atomInfo(source.tag).name, "unknown") << source.tag;
    }
}

TEST(AtomSources, followTheChipVendor) {
    const auto names = [](int32_t tag, const char* hardware) {
        std::vector<std::string> list;
        for (const AtomSource& source : sourcesOf(tag, hardware)) list.emplace_back(source.name);
        return list;
    };
    using Names = std::vector<std::string>;
    EXPECT_EQ(names(150027, "qcom"), (Names{"ro.hardware", "power_ddr_residency"}));
    EXPECT_EQ(names(150027, "qcom2"), (Names{"ro.hardware", "power_ddr_residency_mtk"}));
    EXPECT_EQ(names(150029, "qcom"),
              (Names{"ro.hardware", "gpu_freq_table_qual", "gpu_freq_time_qual"}));
    EXPECT_EQ(names(150005, ""), (Names{"battery_level", "battery_ui_level"}));
}

TEST(AtomSources, listEachNameOnceAcrossAtoms) {
    const auto keys = sourceNames(SourceKind::kKey);
    EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end()));
    EXPECT_EQ(std::set<std::string_view>(keys.begin(), keys.end()).size(), keys.size());
    EXPECT_EQ(std::count(keys.begin(), keys.end(), "panel0_brightness_level_mtk"), 1);
    EXPECT_EQ(sourceNames(SourceKind::kCalda), (std::vector<std::string_view>{"21", "25", "4"}));
}

}  // namespace
}  // namespace zstats::vdevice
