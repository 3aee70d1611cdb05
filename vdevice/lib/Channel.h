#pragma once

#include <android-base/unique_fd.h>

#include <optional>
#include <string_view>

#include "vdevice/lib/Frames.h"

namespace zstats::vdevice {

/**
 * Frames to and from the launcher over the device's second serial port, whose path is in the
 * variable VDEV_PORT. Not thread-safe.
 */
class Channel {
  public:
    /** Opens the port and takes it out of terminal mode. */
    Channel();

    /** Sends as many frames as the bytes need, one if there are none. Waits for a slow launcher. */
    void send(FrameType type, std::string_view bytes, uint16_t session = 0);
    /** Returns once everything has been sent. */
    void drain();

    /** Readable when the launcher has sent something. */
    int fd() const { return mPort.get(); }
    /** Takes in what has arrived; false if it is not understood. */
    bool receive();
    /** The next frame that has arrived as a whole. */
    std::optional<Frame> take() { return mReader.take(); }

  private:
    android::base::unique_fd mPort;
    FrameReader mReader;
};

}  // namespace zstats::vdevice
