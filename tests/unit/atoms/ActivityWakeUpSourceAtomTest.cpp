#include <sys/inotify.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

#include "atoms/ActivityWakeUpSourceAtom.h"
#include "tests/support/AtomTest.h"
#include "tests/support/OtherRoot.h"

namespace {
std::atomic<size_t> gAllocations{0};  // of the whole program
}  // namespace

[[gnu::noinline]] void* operator new(size_t size) {
    ++gAllocations;
    if (void* memory = malloc(size)) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept {
    free(memory);
}

namespace zstats {
namespace {

constexpr int32_t kTag = 150020;

const Nodes kAttributes = {{"active_time_ms", "1500"},
                           {"active_count", "01"},
                           {"event_count", "2"},
                           {"last_change_ms", "3000000000"},
                           {"name", "abc"},
                           {"expire_count", "4"},
                           {"max_time_ms", "5"},
                           {"total_time_ms", "7"},
                           {"prevent_suspend_time_ms", "6"},
                           {"wakeup_count", "8"}};

std::string event(const std::string& name, int64_t activeTime = 1500, int maxTime = 5) {
    return "[\"" + name + "\", 1L, 3000000000L, " + std::to_string(maxTime) + "L, 7L, true, " +
           std::to_string(activeTime) + "L, true, -1, 2L, 4L, 6L, 8L]";
}

class WakeUpSourceTest : public AtomTest {
  protected:
    void add(const std::string& source, const Nodes& attributes = kAttributes) {
        for (const auto& [name, content] : attributes) tree.write(source + "/" + name, content);
    }

    Transcript events() {
        return transcriptOf(kTag, [&](auto* list) {
            std::vector<WakeLockInfo> records;
            getWakeLockStatsAt(tree.path("").c_str(), &records);
            appendWakeLockEvents(records, kTag, list);
        });
    }
    void expectEvents(const Transcript& expected) {
        expectAtLevels(expected, [&] { return events(); });
    }

    /** The opened files of this source, in order. */
    Lines opened(const std::string& source) {
        const android::base::unique_fd watch(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
        inotify_add_watch(watch.get(), tree.path(source).c_str(), IN_OPEN);
        events();
        alignas(inotify_event) char buffer[4096];
        const ssize_t size = read(watch.get(), buffer, sizeof(buffer));
        Lines names;
        for (ssize_t at = 0; at < size;) {
            const auto* entry = reinterpret_cast<const inotify_event*>(buffer + at);
            if (entry->len > 0) names.emplace_back(entry->name);
            at += static_cast<ssize_t>(sizeof(*entry) + entry->len);
        }
        return names;
    }

    /** The number of allocations with this many active sources. */
    size_t allocations(size_t active) {
        std::vector<WakeLockInfo> records(1);
        records.reserve(1 + active);
        const std::string folder = tree.path("");
        const size_t before = gAllocations;
        getWakeLockStatsAt(folder.c_str(), &records);
        const size_t taken = gAllocations - before;
        EXPECT_EQ(records.size(), 1 + active) << "behind what was there";
        return taken;
    }

    const TempTree tree;
};

TEST_F(WakeUpSourceTest, anActiveSourceIsReportedWhole) {
    // The kernel's entries are links. Of the names with a dot, only "." and ".." are no sources.
    const TempTree devices;
    devices.write("..wakeup0/x", "");
    std::filesystem::create_directory_symlink(devices.path("..wakeup0"), tree.path("..wakeup0"));
    add("..wakeup0");
    expectEvents({event("abc")});
    add("..wakeup0",
        {{"active_time_ms", "5\n000000000\n"}, {"name", " a\nb\r\n"}, {"max_time_ms", "\n6\n"}});
    expectEvents({event(" ab\\r", 5000000000, 6)});
    add("..wakeup0", {{"active_time_ms", "1"}, {"name", ""}, {"max_time_ms", "many"}});
    expectEvents({event("", 1, 0)});
    remove(tree.path("..wakeup0/max_time_ms").c_str());
    expectEvents({event("", 1, 0)});
    // A missing file does not get the value of another source.
    add("wakeup1");
    remove(tree.path("wakeup1/wakeup_count").c_str());
    std::string other = event("abc");
    other.replace(other.rfind('8'), 1, "0");
    EXPECT_THAT(events(), testing::UnorderedElementsAre(event("", 1, 0), other));

    const auto append = [](auto* list) {
        std::vector<WakeLockInfo> records(2);
        records[0].activeTime = 1;
        appendWakeLockEvents(records, kTag, list);
    };
    EXPECT_THAT(transcriptOf(kTag, append),
                ElementsAre("[\"\", 0L, 0L, 0L, 0L, false, 1L, true, -1, 0L, 0L, 0L, 0L]"));
}

TEST_F(WakeUpSourceTest, anInactiveOneIsLeftOutAndAFailedReadToldAtLevelTwo) {
    for (const char* time : {"0\n", "\n", "-5\n", "off"}) {
        add("wakeup1", {{"active_time_ms", time}});
        expectEvents({});
    }
    add("wakeup1");
    const std::tuple<const char*, const char*, int> rows[] = {{"wakeup2/active_time_ms", "", 0},
                                                              {"wakeup3/name", "x", -ENOENT},
                                                              {"a_file", "", -ENOTDIR}};
    for (const auto& [file, content, error] : rows) {
        tree.write(file, content);
        expectEvents({"D2 ActivityWakeUpSourceAtom readFile is fail " + std::to_string(error),
                      event("abc")});
        std::filesystem::remove_all(tree.path(std::string(file, strcspn(file, "/"))));
    }
    std::filesystem::remove_all(tree.path(""));
    expectEvents({});
}

TEST_F(WakeUpSourceTest, inactiveSourcesCostOneFileEachAndNoMemory) {
    add("wakeup4");
    EXPECT_THAT(opened("wakeup4"),
                ElementsAre("active_time_ms", "active_count", "event_count", "last_change_ms",
                            "name", "expire_count", "max_time_ms", "prevent_suspend_time_ms",
                            "total_time_ms", "wakeup_count"));
    add("wakeup5", {{"active_time_ms", "0\n"}, {"name", "idle"}});
    EXPECT_THAT(opened("wakeup5"), ElementsAre("active_time_ms"));
    add("wakeup6", {{"active_time_ms", "-5\n"}, {"name", "x"}});
    EXPECT_THAT(opened("wakeup6"), ElementsAre("active_time_ms", "name"));

    const size_t few = allocations(1);
    EXPECT_LE(few, 3u);
    for (int i = 0; i < 100; ++i) add("idle" + std::to_string(i), {{"active_time_ms", "0\n"}});
    add("negative", {{"active_time_ms", "-5\n"}});
    add(std::string(255, 'i'));
    EXPECT_EQ(allocations(2), few);
}

TEST_F(WakeUpSourceTest, theHandlerReadsTheKernelsSources) {
    add("sys/class/wakeup/wakeup5");
    EXPECT_THAT(pull(kTag), IsEmpty());
    if (!withTreeAsKernel(tree, [&] { EXPECT_THAT(pull(kTag), ElementsAre(event("abc"))); })) {
        GTEST_SKIP();
    }
}

}  // namespace
}  // namespace zstats
