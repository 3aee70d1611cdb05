#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <map>
#include <mutex>

#include "atoms/ActivityWakeUpSourceAtom.h"
#include "cli/lib/device/AtomSources.h"
#include "daemon/AtomTable.h"
#include "host/stats/EventList.h"
#include "tests/support/FakeServices.h"
#include "tests/support/HandlerTest.h"
#include "tests/support/SubstituteProfile.h"
#include "tests/support/TempTree.h"

namespace {

constexpr char kChipId[] = "/proc/device-tree/chosen/atag,chipid";

/** The paths that the handlers in this program open. */
struct FileWatch {
    std::mutex lock;
    std::vector<std::string> paths;
    bool chipIdExists = false;
    std::string folder = "/sys/";

    bool note(const std::string& path) {
        const std::lock_guard guard(lock);
        if (path.rfind(folder, 0) == 0 || path == kChipId) paths.push_back(path);
        return chipIdExists && path == kChipId;
    }
};

FileWatch& fileWatch() {
    static auto* const watch = new FileWatch;
    return *watch;
}

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// Replace the C library's functions in this program.
extern "C" int open(const char* path, int flags, ...) {
    fileWatch().note(path);
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return next<int(const char*, int, ...)>("open")(path, flags, mode);
}

extern "C" DIR* opendir(const char* path) {
    fileWatch().note(path);
    return next<DIR*(const char*)>("opendir")(path);
}

extern "C" int access(const char* path, int mode) noexcept {
    return fileWatch().note(path) ? 0 : next<int(const char*, int)>("access")(path, mode);
}

namespace zstats::cli {
namespace {

using Names = std::vector<std::string>;
using Reads = std::map<SourceKind, Names>;

void add(Names& names, const std::string& name) {
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
}

/** The pattern of `tag` that a path fits, or the path itself. */
std::string patternOf(int32_t tag, const std::string& path) {
    for (const ValueSource& source : atomSources()) {
        const size_t star = source.name.find('*');
        if (source.tag != tag || star == std::string::npos) continue;
        if (path.compare(0, star, source.name, 0, star) == 0) return source.name;
    }
    return path;
}

class AtomSourcesTest : public HandlerTest {
  protected:
    ~AtomSourcesTest() override {
        fileWatch().chipIdExists = false;
        fileWatch().folder = "/sys/";
    }

    /** The sources that a pull of `tag` reads on this device, by kind, each once. */
    Reads readsOf(int32_t tag, const std::string& hardware) {
        constexpr int32_t kGpuTag = 150029;  // also read at construction
        properties::clearProperties();
        __system_property_set("ro.hardware", hardware.c_str());
        fileWatch().chipIdExists = hardware != "qcom";
        std::optional<ZStatsPullAtomCallback> object;
        if (tag != kGpuTag) object.emplace();

        FakeHandleFactory factory;
        FakeCharger charger;
        FakeTouch touch;
        FakeCalda calda;
        FakeThermalService thermal;
        FakeAudio audio;
        const SubstituteProfile profile;
        factory.set("cpu_index_range", "0-0");
        charger.set("getPsyBatteryFcc", 4500);
        profile.write("uah", "a,1,2,b,3,4,5,6,7,8,9,10,11,12,c,13,14\n");
        gLogLevel = 2;
        log.clear();
        fileWatch().paths.clear();
        if (tag == kGpuTag) object.emplace();
        AStatsEventList list;
        pullInto(&list, *object, tag);

        Reads reads;
        for (const auto& read : factory.reads()) add(reads[SourceKind::kKey], read.first);
        reads[SourceKind::kCharger] = charger.calls();
        if (!touch.reads().empty()) reads[SourceKind::kTouch] = {"refresh rate"};
        if (!thermal.types().empty()) reads[SourceKind::kThermal] = {"CPU temperatures"};
        // A C string, padded to a multiple of four bytes.
        const std::string question = audio.request().substr(0, audio.request().find('\0'));
        if (!question.empty()) reads[SourceKind::kAudio] = {question};
        if (tag == 150136 && !list.events.empty()) reads[SourceKind::kUsage] = {"records"};
        for (uint32_t code = 1; code < 64; ++code) {
            if (calda.remote().calls(code) == 0) continue;
            reads[SourceKind::kCalda].push_back(std::to_string(code));
        }
        for (const std::string& path : fileWatch().paths) {
            add(reads[SourceKind::kFile], patternOf(tag, path));
        }
        for (const std::string& line : takeLines()) {
            char name[PROP_NAME_MAX];
            if (sscanf(line.c_str(), "D property %[^:]", name) == 1) {
                add(reads[SourceKind::kProperty], name);
            }
        }
        return reads;
    }
};

TEST_F(AtomSourcesTest, listsWhatEachHandlerReads) {
    for (const std::string hardware : {"qcom", "mt6789"}) {
        for (const AtomEntry& entry : kAtomTable) {
            Reads listed;
            for (const ValueSource& source : sourcesOf(entry.tag, hardware)) {
                listed[source.kind].emplace_back(source.name);
            }
            Reads reads = readsOf(entry.tag, hardware);
            for (auto it = reads.begin(); it != reads.end();) {
                it = it->second.empty() ? reads.erase(it) : std::next(it);
            }
            EXPECT_EQ(reads, listed) << entry.tag << " on " << hardware
                                     << ": its option (reads) in proto/zstats_atoms.proto";
        }
    }
}

TEST_F(AtomSourcesTest, listsTheFilesOfAnActiveWakeUpSource) {
    const TempTree tree;
    tree.write("wlan/active_time_ms", "7");
    const std::vector<ValueSource> sources = sourcesOf(150020, "");
    ASSERT_EQ(sources.size(), 1u);
    Names listed = {tree.path(""), tree.path("wlan/active_time_ms")};
    for (const std::string& name : sources.front().beside)
        listed.push_back(tree.path("wlan/" + name));
    fileWatch().folder = tree.path("");
    fileWatch().paths.clear();
    std::vector<WakeLockInfo> records;
    getWakeLockStatsAt(tree.path("").c_str(), &records);
    EXPECT_THAT(fileWatch().paths, testing::UnorderedElementsAreArray(listed));
}

}  // namespace
}  // namespace zstats::cli
