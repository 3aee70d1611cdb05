#include "vdevice/lib/Channel.h"

#include <android-base/file.h>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>

namespace zstats::vdevice {
namespace {

const char* port() {
    const char* const path = getenv("VDEV_PORT");
    return path == nullptr ? "" : path;
}

}  // namespace

Channel::Channel() : mPort(open(port(), O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    termios settings = {};
    tcgetattr(mPort.get(), &settings);
    cfmakeraw(&settings);
    cfsetspeed(&settings, B115200);
    tcsetattr(mPort.get(), TCSANOW, &settings);
}

void Channel::send(FrameType type, std::string_view bytes, uint16_t session) {
    do {
        const std::string_view part = bytes.substr(0, kMaxFrameBytes);
        bytes.remove_prefix(part.size());
        const std::string frame = encodeFrame(type, session, part);
        android::base::WriteFully(mPort.get(), frame.data(), frame.size());
    } while (!bytes.empty());
}

void Channel::drain() {
    tcdrain(mPort.get());
}

bool Channel::receive() {
    char buffer[4096];
    const ssize_t count = read(mPort.get(), buffer, sizeof(buffer));
    if (count > 0) mReader.append({buffer, static_cast<size_t>(count)});
    return count >= 0 && !mReader.isLost();
}

}  // namespace zstats::vdevice
