#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zstats::vdevice {

/** Types of frames between device and launcher; the first byte of a frame. */
enum class FrameType : char {
    // Of a session, to the launcher.
    kOutput = 'O',  // as written
    kErrors = 'E',  // as written
    kExit = 'X',    // the status, 32 bits; the session has ended
    // Of a session, to the device. The first frame with a number begins the session.
    kText = 'T',    // a part of the script
    kBegin = 'B',   // run the script: a letter of SessionKind; a terminal's lines and columns
    kInput = 'I',   // for standard input; without bytes, its end
    kSize = 'W',    // lines and columns of the terminal, 16 bits each
    kSignal = 'K',  // the number of a signal for the session's processes, 32 bits
    // Of a session, in both directions.
    kTaken = 'A',  // number of consumed bytes of output, or of text and input, 32 bits
    // Of the device, to the launcher; the session is 0.
    kLog = 'L',        // text of the device's log, not split at lines
    kHeartbeat = 'H',  // no bytes; the device is alive
    kState = 'S',      // why sessions start: the daemon "registered", "stopped" or "exited"
    kRefusal = 'F',    // why the device does not start, or ends
};

/** The standard descriptors of a session. */
enum class SessionKind : char {
    kScript = 's',    // no input, output and errors
    kFilter = 'f',    // input, output and errors
    kTerminal = 't',  // a terminal
};

/**
 * Limits of a session's bytes in transit, sent and not yet consumed. The sender waits at the limit,
 * so that the receiver need not buffer more.
 */
inline constexpr size_t kOutputWindow = 65536;
inline constexpr size_t kInputWindow = 4096;

struct Frame {
    FrameType type;
    uint16_t session;
    std::string bytes;
};

/** Maximum size of a frame. */
inline constexpr size_t kMaxFrameBytes = 16384;

/** An encoded frame: type, session (16 bits), length (32 bits), all little endian, and the bytes. */
std::string encodeFrame(FrameType type, uint16_t session, std::string_view bytes);

/** The little-endian number at the beginning of `bytes`; 0 if there are too few. */
uint32_t decodeNumber(std::string_view bytes);

/** Splits received bytes into frames. Not thread-safe. */
class FrameReader {
  public:
    void append(std::string_view bytes) { mPending.append(bytes); }
    /** The next complete frame. */
    std::optional<Frame> take();
    /** True after an invalid length: the stream cannot be decoded any more. */
    bool isLost() const { return mLost; }

  private:
    std::string mPending;
    bool mLost = false;
};

}  // namespace zstats::vdevice
