#include "cli/lib/atoms/PulledAtom.h"

#include "cli/lib/atoms/AtomJson.h"

namespace zstats::cli {

std::vector<std::string> jsonLines(const PulledAtom& atom) {
    if (!atom.answered()) return {jsonFailed(atom.tag, atom.failure)};
    if (atom.events.empty()) return {jsonNoEvent(atom.tag)};
    std::vector<std::string> lines;
    for (const PulledEvent& event : atom.events) {
        lines.push_back(event.valid ? jsonEvent(atom.tag, event.fields) : jsonUnbuilt(atom.tag));
    }
    return lines;
}

}  // namespace zstats::cli
