#include <gtest/gtest.h>

#include <algorithm>

#include "daemon/AtomTable.h"
#include "vdevice/lib/atoms/AtomCatalogue.h"
#include "vdevice/lib/sources/AtomSources.h"

namespace zstats::vdevice {
namespace {

TEST(AtomCatalogueTest, hasExactlyTheAtomsThatTheDaemonRegisters) {
    std::vector<int32_t> tags;
    for (const AtomEntry& entry : kAtomTable) tags.push_back(entry.tag);
    std::sort(tags.begin(), tags.end());
    EXPECT_EQ(pulledAtomIds(), tags);
    EXPECT_TRUE(atomInfo(100207).pushed);
    EXPECT_EQ(atomInfo(100207).name, "kestrel_fatal_data");
    EXPECT_EQ(atomInfo(100208).name, "unknown");
}

TEST(AtomCatalogueTest, hasFieldsForAllButWhatIsNeverFilled) {
    for (int32_t id : pulledAtomIds()) {
        EXPECT_EQ(atomInfo(id).fields.empty(), atomInfo(id).neverFilled) << id;
    }
}

TEST(AtomCatalogueTest, followTheChipVendorAndComeOnce) {
    using Names = std::vector<std::string_view>;
    const struct {
        int32_t tag;
        const char* hardware;
        Names names;
    } kCases[] = {
            {150027, "qcom", {"ro.hardware", "power_ddr_residency"}},
            {150027, "qcom2", {"ro.hardware", "power_ddr_residency_mtk"}},
            {150005, "", {"battery_level", "battery_ui_level"}},
    };
    for (const auto& item : kCases) {
        Names names;
        for (const auto& source : sourcesOf(item.tag, item.hardware)) names.push_back(source.name);
        EXPECT_EQ(names, item.names);
    }
    for (const auto& source : atomSources()) EXPECT_NE(atomInfo(source.tag).name, "unknown");
    EXPECT_EQ(sourceNames(SourceKind::kCalda), (Names{"21", "25", "4"}));
}

}  // namespace
}  // namespace zstats::vdevice
