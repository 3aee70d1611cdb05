#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "cli/lib/device/DeviceSources.h"
#include "cli/statsctl/Stream.h"
#include "cli/statsctl/WatchView.h"

namespace zstats::cli {
namespace {

// The size of a terminal that does not report it, such as a serial console.
constexpr size_t kDefaultWidth = 80;
constexpr size_t kDefaultHeight = 24;

constexpr char kEnter[] = "\033[?1049h\033[?25l";  // alternate screen, no cursor
constexpr char kLeave[] = "\033[?25h\033[?1049l";
constexpr char kHome[] = "\033[H";
constexpr char kBold[] = "\033[1m";
constexpr char kPlain[] = "\033[0m";
constexpr char kClearLine[] = "\033[K";
constexpr char kClearBelow[] = "\033[J";

/** A terminal with single-key input and the alternate screen, until this object is destroyed. */
class Screen {
  public:
    Screen() {
        if (isatty(STDIN_FILENO) == 0 || tcgetattr(STDIN_FILENO, &mBefore) != 0) return;
        mHasKeys = true;
        termios keys = mBefore;
        keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
        tcsetattr(STDIN_FILENO, TCSANOW, &keys);
    }
    ~Screen() {
        fputs(kLeave, stdout);
        fflush(stdout);
        if (mHasKeys) tcsetattr(STDIN_FILENO, TCSANOW, &mBefore);
    }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    bool hasKeys() const { return mHasKeys; }

    void draw(const WatchView& view) {
        winsize size = {};
        ioctl(STDOUT_FILENO, TIOCGWINSZ, &size);
        const size_t width = size.ws_col > 0 ? size.ws_col : kDefaultWidth;
        const size_t height = size.ws_row > 0 ? size.ws_row : kDefaultHeight;
        std::string out = mEntered ? kHome : std::string(kEnter) + kHome;
        mEntered = true;
        const std::vector<std::string> lines = view.page(width, height);
        for (size_t i = 0; i < lines.size(); ++i) {
            out += (i == 0 ? kBold : "") + lines[i] + (i == 0 ? kPlain : "") + kClearLine;
            if (i + 1 < lines.size()) out += "\n";
        }
        out += kClearBelow;
        fputs(out.c_str(), stdout);
        fflush(stdout);
    }

  private:
    termios mBefore = {};
    bool mHasKeys = false;
    bool mEntered = false;
};

/** False when the user ends the view, or the keyboard is closed. */
bool goesOnAfterKey() {
    char key = 0;
    const ssize_t count = read(STDIN_FILENO, &key, 1);
    return count > 0 && key != 'q';
}

int watchOnScreen(const Words& words) {
    Screen screen;
    WatchView view;
    StreamUser user;
    user.message = [&](const std::vector<StreamedAtom>& atoms) {
        view.add(atoms, uptimeMs());
        screen.draw(view);
        return true;
    };
    if (screen.hasKeys()) {
        user.input = STDIN_FILENO;
        user.readable = goesOnAfterKey;
    }
    return followStream(words, user);
}

/** For output that is not a terminal: a line for each change. */
int watchAsLines(const Words& words) {
    WatchView view;
    StreamUser user;
    user.message = [&](const std::vector<StreamedAtom>& atoms) {
        view.add(atoms, uptimeMs());
        for (const std::string& line : view.news()) puts(line.c_str());
        return ferror(stdout) == 0;
    };
    return followStream(words, user);
}

}  // namespace

int watchCommand(Statsd&, const Words& words) {
    Words subscription = words;
    if (subscription.ids.empty()) subscription.ids = allAtomIds();
    endFollowingOnSignal();
    return isatty(STDOUT_FILENO) != 0 ? watchOnScreen(subscription) : watchAsLines(subscription);
}

}  // namespace zstats::cli
