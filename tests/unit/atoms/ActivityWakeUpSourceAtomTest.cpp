#include <sys/inotify.h>

#include <atomic>
#include <cstdlib>
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

class WakeUpSourceTest : public AtomTest {
  protected:
    void add(const std::string& source, const Nodes& attributes) {
        for (const auto& [name, content] : attributes) tree.write(source + "/" + name, content);
    }

    Transcript events() {
        return transcriptOf(kTag, [&](auto* list) {
            std::vector<WakeLockInfo> records;
            getWakeLockStatsAt(tree.path("").c_str(), &records);
            appendWakeLockEvents(records, kTag, list);
        });
    }

    /** How often memory is taken for sources of which so many are active. */
    size_t allocations(size_t active) {
        std::vector<WakeLockInfo> records;
        records.reserve(active);
        const std::string folder = tree.path("");
        const size_t before = gAllocations;
        getWakeLockStatsAt(folder.c_str(), &records);
        const size_t taken = gAllocations - before;
        EXPECT_EQ(records.size(), active);
        return taken;
    }

    const Nodes all = {{"active_time_ms", "1500"},
                       {"active_count", "01"},
                       {"event_count", "2"},
                       {"last_change_ms", "3000000000"},
                       {"name", "abc"},
                       {"expire_count", "4"},
                       {"max_time_ms", "5"},
                       {"total_time_ms", "7"},
                       {"prevent_suspend_time_ms", "6"},
                       {"wakeup_count", "8"}};
    const TempTree tree;
};

std::string event(const std::string& name, int64_t activeTime = 1500, int maxTime = 5) {
    return "[\"" + name + "\", 1L, 3000000000L, " + std::to_string(maxTime) + "L, 7L, true, " +
           std::to_string(activeTime) + "L, true, -1, 2L, 4L, 6L, 8L]";
}

TEST_F(WakeUpSourceTest, anActiveSourceIsReportedWhole) {
    add("wakeup0", all);
    EXPECT_THAT(events(), ElementsAre(event("abc")));
    add("wakeup0",
        {{"active_time_ms", "5\n000000000\n"}, {"name", " a\nb \n"}, {"max_time_ms", "\n6\n"}});
    EXPECT_THAT(events(), ElementsAre(event(" ab ", 5000000000, 6)));
    add("wakeup0", {{"active_time_ms", "1"}, {"name", ""}, {"max_time_ms", "many"}});
    EXPECT_THAT(events(), ElementsAre(event("", 1, 0)));
    remove(tree.path("wakeup0/max_time_ms").c_str());
    EXPECT_THAT(events(), ElementsAre(event("", 1, 0)));

    const auto append = [](auto* list) {
        std::vector<WakeLockInfo> records(2);
        records[0].activeTime = 1;
        appendWakeLockEvents(records, kTag, list);
    };
    EXPECT_THAT(transcriptOf(kTag, append),
                ElementsAre("[\"\", 0L, 0L, 0L, 0L, false, 1L, true, -1, 0L, 0L, 0L, 0L]"));
}

TEST_F(WakeUpSourceTest, othersAreLeftOutAndAFailedReadIsToldAtLevelTwo) {
    add("wakeup1", all);
    std::vector<WakeLockInfo> records;
    for (const char* time : {"0\n", "\n", "-5\n", "off"}) {
        add("wakeup1", {{"active_time_ms", time}});
        for (gLogLevel = 2; gLogLevel > 0; --gLogLevel) EXPECT_THAT(events(), IsEmpty()) << time;
    }
    const auto failure = [](int error) {
        return "D2 ActivityWakeUpSourceAtom readFile is fail " + std::to_string(error);
    };
    const auto expectFailures = [&](int error) {
        expectAtLevels({failure(error)}, [&] { return events(); });
    };
    add("wakeup1", {{"active_time_ms", ""}});
    expectFailures(0);
    std::filesystem::remove_all(tree.path("wakeup1"));
    tree.write("wakeup2/name", "x");
    expectFailures(-ENOENT);
    std::filesystem::remove_all(tree.path("wakeup2"));
    tree.write("a_file", "");
    expectFailures(-ENOTDIR);
    add("wakeup3", all);  // which an unreadable one does not lose
    EXPECT_THAT(events(), ElementsAre(event("abc")));

    log.clear();
    getWakeLockStatsAt(tree.path("absent/").c_str(), &records);
    EXPECT_THAT(records, IsEmpty());
    EXPECT_THAT(takeLines(), IsEmpty());
}

TEST_F(WakeUpSourceTest, inactiveSourcesCostOneFileEachAndNoMemory) {
    const android::base::unique_fd watch(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    const auto opened = [&](const char* time) {
        add("wakeup4", all);
        add("wakeup4", {{"active_time_ms", time}});
        const int folder = inotify_add_watch(watch.get(), tree.path("wakeup4").c_str(), IN_OPEN);
        events();
        inotify_rm_watch(watch.get(), folder);
        alignas(inotify_event) char buffer[4096];
        const ssize_t size = read(watch.get(), buffer, sizeof(buffer));
        std::vector<std::string> names;
        for (ssize_t at = 0; at < size;) {
            const auto* entry = reinterpret_cast<const inotify_event*>(buffer + at);
            if ((entry->mask & IN_OPEN) != 0) names.emplace_back(entry->name);
            at += static_cast<ssize_t>(sizeof(*entry) + entry->len);
        }
        return names;
    };
    EXPECT_THAT(opened("0\n"), ElementsAre("active_time_ms"));
    EXPECT_THAT(opened("1\n"),
                ElementsAre("active_time_ms", "active_count", "event_count", "last_change_ms",
                            "name", "expire_count", "max_time_ms", "prevent_suspend_time_ms",
                            "total_time_ms", "wakeup_count"));

    const size_t few = allocations(1);
    EXPECT_LE(few, 3u);
    for (int i = 0; i < 100; ++i) add("idle" + std::to_string(i), {{"active_time_ms", "0\n"}});
    add(std::string(255, 'i'), all);
    EXPECT_EQ(allocations(2), few);
}

TEST_F(WakeUpSourceTest, theHandlerReadsTheKernelsSources) {
    add("sys/class/wakeup/wakeup5", all);
    EXPECT_THAT(pull(kTag), IsEmpty());
    if (!withTreeAsKernel(tree, [&] { EXPECT_THAT(pull(kTag), ElementsAre(event("abc"))); })) {
        GTEST_SKIP();
    }
}

}  // namespace
}  // namespace zstats
