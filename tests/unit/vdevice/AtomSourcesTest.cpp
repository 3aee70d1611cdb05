#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <map>
#include <mutex>

#include "daemon/AtomTable.h"
#include "host/stats/EventList.h"
#include "tests/support/FakePlatformServices.h"
#include "tests/support/FakeVendorServices.h"
#include "tests/support/HandlerTest.h"
#include "tests/support/SubstituteProfile.h"
#include "vdevice/common/AtomSources.h"

namespace {

constexpr char kChipId[] = "/proc/device-tree/chosen/atag,chipid";

/** What this program's handlers ask of the kernel's file systems. */
struct FileWatch {
    std::mutex lock;
    std::vector<std::string> paths;
    bool chipIdExists = false;

    bool note(const std::string& path) {
        const std::lock_guard guard(lock);
        if (path.rfind("/sys/", 0) == 0 || path == kChipId) paths.push_back(path);
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

// These take the place of the C library's functions in this program.
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

namespace zstats::vdevice {
namespace {

using Names = std::vector<std::string>;
using Reads = std::map<SourceKind, Names>;

/** Each name once, in the order of the first. */
Names unique(const Names& names) {
    Names once;
    for (const std::string& name : names) {
        if (std::find(once.begin(), once.end(), name) == once.end()) once.push_back(name);
    }
    return once;
}

/** A device with every service, whose reads are recorded. */
class AtomSourcesTest : public HandlerTest {
  protected:
    AtomSourcesTest() {
        gLogLevel = 2;
        mFactory.set("cpu_index_range", "0-0");
        mCharger.set("getPsyBatteryFcc", 4500);
        mProfile.write("uah", "a,1,2,b,3,4,5,6,7,8,9,10,11,12,c,13,14\n");
    }
    ~AtomSourcesTest() override { fileWatch().chipIdExists = false; }

    /** What a pull of `tag` on this device reads, by kind. */
    Reads readsOf(int32_t tag, const std::string& hardware) {
        properties::clearProperties();
        __system_property_set("ro.hardware", hardware.c_str());
        fileWatch().chipIdExists = hardware != "qcom";
        // The GPU's reader reads as the object is made, too.
        constexpr int32_t kGpuTag = 150029;
        std::optional<ZStatsPullAtomCallback> object;
        if (tag != kGpuTag) object.emplace();
        const Reads before = readSoFar();
        std::map<uint32_t, int> caldaBefore;
        for (uint32_t code = 1; code < 64; ++code) caldaBefore[code] = mCalda.remote().calls(code);
        takeLines();
        fileWatch().paths.clear();
        if (tag == kGpuTag) object.emplace();
        AStatsEventList list;
        pullInto(&list, *object, tag);

        Reads reads;
        for (const auto& [kind, names] : readSoFar()) {
            const auto known = before.find(kind);
            const size_t start = known != before.end() ? known->second.size() : 0;
            reads[kind] = unique(Names(names.begin() + start, names.end()));
        }
        for (const std::string& line : takeLines()) {
            constexpr char kProperty[] = "D property ";
            if (line.rfind(kProperty, 0) != 0) continue;
            const size_t start = strlen(kProperty);
            reads[SourceKind::kProperty].push_back(line.substr(start, line.find(':') - start));
        }
        reads[SourceKind::kProperty] = unique(reads[SourceKind::kProperty]);
        reads[SourceKind::kFile] = filesOf(tag);
        reads[SourceKind::kCalda] = caldaCallsSince(caldaBefore);
        if (tag == 150136 && eventsOf(list).size() == 1) reads[SourceKind::kUsage] = {"records"};
        return reads;
    }

  private:
    Reads readSoFar() {
        Reads reads;
        for (const auto& [key, flag] : mFactory.reads()) reads[SourceKind::kKey].push_back(key);
        reads[SourceKind::kCharger] = mCharger.calls();
        reads[SourceKind::kTouch] = Names(mTouch.reads().size(), "refresh rate");
        reads[SourceKind::kThermal] = Names(mThermal.types().size(), "CPU temperatures");
        // The bytes of a C string, filled up to a multiple of four.
        reads[SourceKind::kAudio] =
                Names(mAudio.remote().calls(FakeAudio::kMonitor), mAudio.request().c_str());
        return reads;
    }

    /** The transactions of the maker's thermal service, sorted; each is made once at most. */
    Names caldaCallsSince(const std::map<uint32_t, int>& before) {
        Names codes;
        for (const auto& [code, count] : before) {
            if (mCalda.remote().calls(code) > count) codes.push_back(std::to_string(code));
        }
        return codes;
    }

    /** The patterns of the files that were asked for; a path that none fits stands for itself. */
    static Names filesOf(int32_t tag) {
        Names names;
        for (const std::string& path : fileWatch().paths) {
            std::string name = path;
            for (const AtomSource& source : atomSources()) {
                const std::string pattern = source.name;
                const size_t star = pattern.find('*');
                if (source.tag != tag || source.kind != SourceKind::kFile) continue;
                if (star != std::string::npos && path.compare(0, star, pattern, 0, star) == 0) {
                    name = pattern;
                }
            }
            names.push_back(name);
        }
        return unique(names);
    }

    FakeHandleFactory mFactory;
    FakeCharger mCharger;
    FakeTouch mTouch;
    FakeCalda mCalda;
    FakeThermalService mThermal;
    FakeAudio mAudio;
    const SubstituteProfile mProfile;
};

constexpr SourceKind kKinds[] = {
        SourceKind::kKey,   SourceKind::kCharger, SourceKind::kTouch,
        SourceKind::kCalda, SourceKind::kThermal, SourceKind::kAudio,
        SourceKind::kUsage, SourceKind::kFile,    SourceKind::kProperty,
};

TEST_F(AtomSourcesTest, listsWhatEachHandlerReads) {
    for (const char* hardware : {"qcom", "mt6789"}) {
        for (const AtomEntry& entry : kAtomTable) {
            Reads reads = readsOf(entry.tag, hardware);
            for (const SourceKind kind : kKinds) {
                Names listed;
                for (const AtomSource& source : sourcesOf(entry.tag, hardware)) {
                    if (source.kind == kind) listed.emplace_back(source.name);
                }
                EXPECT_EQ(reads[kind], listed)
                        << entry.tag << " on " << hardware << ", kind " << static_cast<int>(kind);
            }
        }
    }
}

TEST_F(AtomSourcesTest, listsAtomsOfTheTableAlone) {
    for (const AtomSource& source : atomSources()) {
        EXPECT_TRUE(std::any_of(std::begin(kAtomTable), std::end(kAtomTable),
                                [&](const AtomEntry& entry) { return entry.tag == source.tag; }))
                << source.tag;
    }
}

}  // namespace
}  // namespace zstats::vdevice
