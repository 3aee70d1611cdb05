#include <android-base/file.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "vdevice/lib/profile/ProfileCheck.h"

namespace zstats::vdevice {
namespace {

using Files = std::map<std::string, std::string>;

/** What the check says of a folder with these files, paths relative to it. */
std::string faultOf(const Files& files) {
    const TemporaryDir folder;
    const std::string root = std::string(folder.path) + "/";
    for (const auto& [name, content] : files) {
        std::filesystem::create_directories(std::filesystem::path(root + name).parent_path());
        EXPECT_TRUE(android::base::WriteStringToFile(content, root + name));
    }
    std::string fault =
            checkProfile(folder.path, {{"statsd", "stats"}, {"getPsyBatteryCC", "getUIsohValue"}});
    for (size_t at = fault.find(root); at != std::string::npos; at = fault.find(root)) {
        fault.erase(at, root.size());
    }
    return fault;
}

Files withProperties(Files files) {
    files.emplace("build.prop", "");
    return files;
}

TEST(ProfileCheckTest, acceptsWhatTheFormatAllows) {
    const Files kCases[] = {
            {{"build.prop", "# a phone\n\nro.hardware=qcom\npersist.a=\nro.b=x=y\n"}},
            {{"build.prop", std::string("a=").append(91, 'x')}},
            {{"nodes/a", std::string("\0\xff", 2)}, {"nodes/a.1", ""}, {"nodes/a.2", ""}},
            {{"charger", "getPsyBatteryCC=fail\ngetUIsohValue=-2147483648\n"}},
            {{"absent", "stats\n"}},
            {{"features", "feature=a.b off\nbpf=unsupported\nbpf_connect=-5\n"}},
            {{"calda", "status=1\nvector=4 4 -1\nexception=-3\n"}, {"thermal", "41.5\n-3\n.5\n"}},
            {{"audio", "any=text"}, {"uah", "a,b\n!nontext\n"}, {"touch", std::string(1, '\0')}},
            {{"audio", "status=-38"}},
            {{"root/proc/meminfo", ""}},
    };
    for (const Files& files : kCases) {
        EXPECT_EQ(faultOf(withProperties(files)), "") << files.begin()->first;
    }
}

TEST(ProfileCheckTest, refusesWithFileLineAndReason) {
    const struct {
        Files files;
        const char* fault;
    } kCases[] = {
            {{{"build.prop", "a=b\nfoo\n"}}, "build.prop:2: 'foo' has no '='"},
            {{{"build.prop", "a=b\n\na=c\n"}}, "build.prop:3: 'a' is already set in line 1"},
            {{{"build.prop", "a b=c"}}, "build.prop:1: 'a b' is no property name"},
            {{{"build.prop", "=c"}}, "build.prop:1: '' is no property name"},
            {{{"build.prop", "ctl.stop=x"}},
             "build.prop:1: 'ctl.stop' is a request to init, no property"},
            {{{"build.prop", std::string("a=").append(92, 'x')}},
             "build.prop:1: the value of 'a' is longer than 91 bytes"},
            {{{"build.prop", "a=\xff"}}, "build.prop:1: is not UTF-8 text"},
            {{{"build.prop", std::string("a=\0", 3)}}, "build.prop:1: holds a NUL character"},
            {{{"nodes/a b", ""}}, "nodes/a b: is no key, nor KEY.N with N from 1"},
            {{{"nodes/a.1", ""}}, "nodes/a.1: there is no a before it"},
            {{{"nodes/a", ""}, {"nodes/a.2", ""}}, "nodes/a.2: there is no a.1 before it"},
            {{{"nodes", ""}}, "nodes: is no folder"},
            {{{"charger/x", ""}}, "charger: is no file"},
            {{{"charger", "getNothing=1"}}, "charger:1: the charger has no method 'getNothing'"},
            {{{"charger", "getUIsohValue=2147483648"}},
             "charger:1: '2147483648' is no 32-bit number for getUIsohValue"},
            {{{"absent", "audi"}},
             "absent:1: there is no service 'audi' (there are: stats, statsd)"},
            {{{"calda", "status=1\nfoo=1"}},
             "calda:2: 'foo' is none of ambient, exception, status, transport_error, vector"},
            {{{"calda", "vector=1 x"}}, "calda:1: 'x' is no 32-bit number for vector"},
            {{{"thermal", "warm"}}, "thermal:1: 'warm' is no temperature"},
            {{{"thermal", "1 2"}}, "thermal:1: '1 2' is no temperature"},
            {{{"audio", "status=no"}}, "audio:1: 'no' is no 32-bit number for status"},
            {{{"uah", "!other"}}, "uah:1: '!other' is neither '!nontext' nor '!fail'"},
            {{{"features", "feature=a on"}},
             "features:1: 'feature=a on' is neither 'feature=NAME off', 'bpf=unsupported' nor one "
             "of bpf_btf, bpf_connect, bpf_enable, bpf_region with a number"},
            {{{"scenario", "at once\n"}},
             "scenario: line 1: a time not before the last step's, such as '20 s', must follow "
             "'at'"},
            {{{"extra", ""}}, "extra: a profile has no such file"},
            {{{"root/profile/x", ""}}, "root/profile: is the device's own"},
    };
    for (const auto& item : kCases) EXPECT_EQ(faultOf(withProperties(item.files)), item.fault);
    EXPECT_EQ(faultOf({{"touch", ""}}), "build.prop: is missing");
    EXPECT_EQ(checkProfile("/no/folder", {}), "/no/folder: there is no such profile folder");
}

}  // namespace
}  // namespace zstats::vdevice
