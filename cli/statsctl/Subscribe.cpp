#include <cstdio>
#include <optional>

#include "cli/lib/atoms/AtomText.h"
#include "cli/statsctl/DeviceHeader.h"
#include "cli/statsctl/Stream.h"

namespace zstats::cli {
namespace {

/** Prints a recording in JSON: its header before the first event, and each event with its times. */
class JsonPrinter {
  public:
    explicit JsonPrinter(bool units) : mUnits(units) {}

    void print(const StreamedAtom& atom) {
        if (!mHeader) {
            mHeader = deviceHeader("subscribe");
            puts(jsonHeader(*mHeader).c_str());
        }
        RecordedEvent event;
        event.id = atom.id;
        event.elapsedNs = atom.timestampNs;
        event.wallNs = mHeader->wallNs - mHeader->elapsedNs + atom.timestampNs;
        int number = 0;
        for (const AtomValue& value : atom.fields) event.fields.emplace(++number, value);
        puts(jsonRecorded(event, mHeader->bootId, mUnits).c_str());
    }

  private:
    const bool mUnits;
    std::optional<RecordingHeader> mHeader;
};

void printText(const StreamedAtom& atom) {
    printf("%d  %s  %s\n", atom.id, atomInfo(atom.id).name.c_str(),
           eventText(atom.id, atom.fields).c_str());
}

}  // namespace

int subscribeCommand(Statsd&, const Words& words) {
    int printed = 0;
    JsonPrinter json(words.units);
    StreamUser user;
    user.message = [&](const std::vector<StreamedAtom>& atoms) {
        for (const StreamedAtom& atom : atoms) {
            if (words.json) {
                json.print(atom);
            } else {
                printText(atom);
            }
        }
        printed += static_cast<int>(atoms.size());
        return !words.count || printed < *words.count;
    };
    return followStream(words, user);
}

}  // namespace zstats::cli
