#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cli/lib/CommandLine.h"

namespace {

constexpr char kUsage[] =
        "usage: windowsize\n"
        "Gives the terminal of its standard output the size of the launcher's, and follows it, "
        "until the\n"
        "terminal is gone. The launcher sends a size as a frame of the second serial port: 'W', "
        "the\n"
        "length 4 (32 bits), lines and columns (16 bits each), all little endian.\n";

constexpr size_t kLines = 5;
constexpr size_t kColumns = 7;
constexpr std::array<uint8_t, kLines> kHead = {'W', 4, 0, 0, 0};

uint16_t number(const uint8_t* bytes) {
    return static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
}

/** Reads a frame, having passed over what is none; false at the port's end. */
bool readSize(int port, winsize* size) {
    std::array<uint8_t, kColumns + 2> frame = {};
    size_t count = 0;
    while (count < frame.size()) {
        if (read(port, &frame.at(count), 1) != 1) return false;
        if (count < kHead.size() && frame.at(count) != kHead.at(count)) {
            count = 0;
        } else {
            ++count;
        }
    }
    size->ws_row = number(&frame[kLines]);
    size->ws_col = number(&frame[kColumns]);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    zstats::cli::CommandLine line("windowsize", kUsage);
    if (const auto ended = line.read(argc, argv)) return *ended;
    const char* const path = getenv("VDEV_PORT");
    const android::base::unique_fd port(
            open(path == nullptr ? "" : path, O_RDONLY | O_NOCTTY | O_CLOEXEC));
    if (!port.ok()) {
        fprintf(stderr, "windowsize: the serial port cannot be opened: %s\n", strerror(errno));
        return EXIT_FAILURE;
    }
    winsize size = {};
    while (readSize(port.get(), &size) && ioctl(STDOUT_FILENO, TIOCSWINSZ, &size) == 0) {
    }
    return EXIT_SUCCESS;
}
