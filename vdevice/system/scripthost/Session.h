#pragma once

#include <android-base/unique_fd.h>
#include <poll.h>
#include <sys/types.h>

#include <string>
#include <vector>

#include "vdevice/lib/Channel.h"

namespace zstats::vdevice {

/** Path of the script of a boot. */
inline constexpr char kScriptPath[] = "/script/main";

/**
 * A script, or a shell in a terminal, whose input and output are frames. It has pipes or a
 * pseudo-terminal of this process's domain, as on a phone those of adbd. Not thread-safe.
 */
class Session {
  public:
    Session(uint16_t number, Channel* channel) : mNumber(number), mChannel(channel) {}
    /** Runs the script of the boot. Only the port limits its output. */
    void beginBoot();
    /** Handles a frame of the launcher. */
    void onFrame(const Frame& frame);

    /** Adds the descriptors for pass(). */
    void addTo(std::vector<pollfd>* waiting) const;
    /** Forwards one portion of each stream, without blocking. */
    void pass();

    /** Forwards the remaining output of its process. Background processes may write more. */
    void flush();
    /** Sends the status. */
    void exit(int32_t status);

    pid_t pid() const { return mPid; }
    /** True if it ended before its process began. */
    bool hasFailed() const { return mFailed; }

  private:
    void addText(const Frame& frame);
    void begin(const Frame& frame);
    void startOnPipes(bool hasInput, const std::vector<const char*>& command);
    void startInTerminal(const Frame& frame);
    void fail(const char* call);
    void resize(std::string_view size);
    void signal(int number);
    size_t passOnce(android::base::unique_fd* from, FrameType type, size_t most);
    void feed();
    void sayTaken(size_t count);

    const uint16_t mNumber;
    Channel* const mChannel;
    std::string mText;
    std::string mInputPending;
    bool mInputEnds = false;
    size_t mWindow = kOutputWindow;
    android::base::unique_fd mInput;
    android::base::unique_fd mOutput;
    android::base::unique_fd mErrors;
    pid_t mPid = -1;
    bool mFailed = false;
};

}  // namespace zstats::vdevice
