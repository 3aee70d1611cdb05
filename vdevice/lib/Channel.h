#pragma once

#include <android-base/unique_fd.h>

#include <string_view>

namespace zstats::vdevice {

/** What a frame on the channel carries. The type is the frame's first byte. */
enum class FrameType : char {
    kOutput = 'O',     // of the script, as written
    kErrors = 'E',     // of the script, as written
    kLog = 'L',        // text of the device's log, in whole or in part lines
    kHeartbeat = 'H',  // no bytes; the device is alive
    kState = 'S',      // why the script starts: the daemon "registered", "stopped" or "exited"
    kRefusal = 'F',    // why the device does not start
    kExit = 'X',       // the script's status, 32 bits
};

/**
 * The path of a serial port, by the variable in which the launcher names it for this processor:
 * "VDEV_PORT" or "VDEV_CONSOLE". Empty without it.
 */
const char* serialPort(const char* variable);

/**
 * Sends frames to the launcher over the device's second serial port. A frame is its type, a length
 * (32 bits, little endian) and that many bytes. Not thread-safe.
 */
class Channel {
  public:
    /** Opens the port and takes it out of terminal mode. */
    Channel();

    void send(FrameType type, std::string_view bytes);
    /** Returns once everything has been sent. */
    void drain();

  private:
    android::base::unique_fd mPort;
};

}  // namespace zstats::vdevice
