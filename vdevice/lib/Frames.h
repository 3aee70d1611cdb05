#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zstats::vdevice {

/** What a frame between device and launcher carries. The type is the frame's first byte. */
enum class FrameType : char {
    // Of a session, to the launcher.
    kOutput = 'O',  // as written
    kErrors = 'E',  // as written
    kExit = 'X',    // the status, 32 bits; the session has ended
    // Of a session, to the device. The first one of a number begins the session.
    kText = 'T',    // a part of the script
    kBegin = 'B',   // runs the script: a letter of SessionKind; a terminal's lines and columns
    kInput = 'I',   // for standard input; its end, without bytes
    kSize = 'W',    // lines and columns of the terminal, 16 bits each
    kSignal = 'K',  // the number of a signal for the session's processes, 32 bits
    // Of a session, in both directions.
    kTaken = 'A',  // how many bytes of output, or of text and input, have been used, 32 bits
    // Of the device, to the launcher; the session is 0.
    kLog = 'L',        // text of the device's log, in whole or in part lines
    kHeartbeat = 'H',  // no bytes; the device is alive
    kState = 'S',      // why sessions start: the daemon "registered", "stopped" or "exited"
    kRefusal = 'F',    // why the device does not start, or ends
};

/** What a session's standard descriptors are. */
enum class SessionKind : char {
    kScript = 's',    // no input, output and errors
    kFilter = 'f',    // input, output and errors
    kTerminal = 't',  // a terminal
};

/**
 * How many bytes of a session may be on their way, sent and not yet taken: a sender waits instead
 * of sending more, so that neither side has to keep more.
 */
inline constexpr size_t kOutputWindow = 65536;
inline constexpr size_t kInputWindow = 4096;

struct Frame {
    FrameType type;
    uint16_t session;
    std::string bytes;
};

/** No frame carries more bytes. */
inline constexpr size_t kMaxFrameBytes = 16384;

/** A frame on the wire: type, session (16 bits), length (32 bits), all little endian, and the bytes. */
std::string encodeFrame(FrameType type, uint16_t session, std::string_view bytes);

/** The number at the beginning of `bytes`, little endian; 0 if they are too few. */
uint32_t decodeNumber(std::string_view bytes, size_t size = sizeof(uint32_t));

/** Makes frames of what arrives. Not thread-safe. */
class FrameReader {
  public:
    void append(std::string_view bytes) { mPending.append(bytes); }
    /** The next frame that is complete. */
    std::optional<Frame> take();
    /** True after a length that no frame has: what follows is not understood. */
    bool isLost() const { return mLost; }

  private:
    std::string mPending;
    bool mLost = false;
};

}  // namespace zstats::vdevice
