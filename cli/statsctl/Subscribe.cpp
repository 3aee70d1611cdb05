#include <cstdio>
#include <optional>

#include "cli/lib/atoms/AtomText.h"
#include "cli/statsctl/CsvFolder.h"
#include "cli/statsctl/DeviceHeader.h"
#include "cli/statsctl/Stream.h"

namespace zstats::cli {
namespace {

/** Writes a recording: in JSON, its header before the first event, or into a folder. */
class Recorder {
  public:
    explicit Recorder(const CommandArguments& arguments)
          : mArguments(arguments), mFolder(kCommand, arguments.csv) {}

    bool open() const { return mArguments.csv.empty() || mFolder.open(); }

    /** False, with a message, if the event cannot be written. */
    bool add(const StreamedAtom& atom) {
        const bool first = !mHeader;
        if (first) mHeader = deviceHeader("subscribe");
        RecordedEvent event;
        event.id = atom.id;
        event.elapsedNs = atom.timestampNs;
        event.wallNs = mHeader->wallNs - mHeader->elapsedNs + atom.timestampNs;
        int number = 0;
        for (const AtomValue& value : atom.fields) event.fields.emplace(++number, value);
        if (!mArguments.json) return mFolder.add(event);
        if (first) puts(jsonHeader(*mHeader).c_str());
        puts(jsonRecorded(event, mHeader->bootId, mArguments.units).c_str());
        return true;
    }

  private:
    static constexpr char kCommand[] = "statsctl subscribe";

    const CommandArguments& mArguments;
    CsvFolder mFolder;
    std::optional<RecordingHeader> mHeader;
};

void printText(const StreamedAtom& atom) {
    printf("%d  %s  %s\n", atom.id, atomInfo(atom.id).name.c_str(),
           eventText(atom.id, atom.fields).c_str());
}

}  // namespace

int subscribeCommand(Statsd&, const CommandArguments& arguments) {
    int printed = 0;
    bool written = true;
    Recorder recorder(arguments);
    if (!recorder.open()) return kExitFailed;
    const StreamUser user = [&](const std::vector<StreamedAtom>& atoms) {
        for (const StreamedAtom& atom : atoms) {
            if (arguments.json || !arguments.csv.empty()) {
                written = written && recorder.add(atom);
            } else {
                printText(atom);
            }
        }
        printed += static_cast<int>(atoms.size());
        return written && (!arguments.count || printed < *arguments.count);
    };
    const int status = followStream(arguments, user);
    return written ? status : kExitFailed;
}

}  // namespace zstats::cli
