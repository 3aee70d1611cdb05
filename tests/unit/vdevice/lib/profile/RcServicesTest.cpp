#include <gtest/gtest.h>

#include "vdevice/lib/profile/RcServices.h"

namespace zstats::vdevice {
namespace {

constexpr char kFirst[] = "service first /bin/first\n    interface aidl a.b\n\tinterface aidl c\n";
constexpr char kSecond[] = "  service second /bin/second\n    # interface aidl d\n";

TEST(RcServicesTest, findsEachServiceWithItsSectionAndInterfaces) {
    const std::string text = std::string("# of services\nservice\n") + kFirst +
                             "on boot\n    interface aidl e\n" + kSecond + "import /f.rc\n  user x";
    std::string found;
    for (const RcService& service : rcServices(text)) {
        found += service.name + "[";
        for (const std::string& name : service.interfaces) found += name + ";";
        found += "]" + service.section;
    }
    EXPECT_EQ(std::string("first[a.b;c;]") + kFirst + "second[]" + kSecond, found);
}

}  // namespace
}  // namespace zstats::vdevice
