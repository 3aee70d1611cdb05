#include <android-base/file.h>
#include <gtest/gtest.h>

#include <string>

#include "vdevice/system/scripthost/Session.h"

namespace zstats::vdevice {
namespace {

/** The rest is seen through the launcher: tests/system/stay_check.py. */
TEST(SessionTest, canEndBeforeItHasBegun) {
    const TemporaryFile port;
    setenv("VDEV_PORT", port.path, 1);
    Channel channel;
    Session session(7, &channel);
    session.onFrame({FrameType::kText, 7, "true"});
    session.onFrame({FrameType::kSignal, 7, {"\1\0\0\0", 4}});
    EXPECT_TRUE(session.hasFailed());
    std::string sent;
    EXPECT_TRUE(android::base::ReadFileToString(port.path, &sent));
    EXPECT_EQ(sent, encodeFrame(FrameType::kTaken, 7, {"\4\0\0\0", 4}) +
                            encodeFrame(FrameType::kExit, 7, {"\x7e\0\0\0", 4}));
}

}  // namespace
}  // namespace zstats::vdevice
