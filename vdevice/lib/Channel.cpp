#include "vdevice/lib/Channel.h"

#include <android-base/file.h>
#include <endian.h>
#include <fcntl.h>
#include <termios.h>

#include <algorithm>
#include <cstdlib>
#include <string>

namespace zstats::vdevice {
namespace {

constexpr size_t kMaxFrameBytes = 16384;

}  // namespace

const char* serialPort(const char* variable) {
    const char* path = getenv(variable);
    return path == nullptr ? "" : path;
}

Channel::Channel() : mPort(open(serialPort("VDEV_PORT"), O_WRONLY | O_NOCTTY | O_CLOEXEC)) {
    termios settings = {};
    tcgetattr(mPort.get(), &settings);
    cfmakeraw(&settings);
    cfsetspeed(&settings, B115200);
    tcsetattr(mPort.get(), TCSANOW, &settings);
}

void Channel::send(FrameType type, std::string_view bytes) {
    do {
        const std::string_view part = bytes.substr(0, kMaxFrameBytes);
        bytes.remove_prefix(part.size());
        const uint32_t length = htole32(static_cast<uint32_t>(part.size()));
        std::string frame(1, static_cast<char>(type));
        frame.append(reinterpret_cast<const char*>(&length), sizeof(length));
        frame.append(part);
        android::base::WriteFully(mPort.get(), frame.data(), frame.size());
    } while (!bytes.empty());
}

void Channel::drain() {
    tcdrain(mPort.get());
}

}  // namespace zstats::vdevice
