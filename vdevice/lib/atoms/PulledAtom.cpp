#include "vdevice/lib/atoms/PulledAtom.h"

#include "vdevice/lib/atoms/AtomJson.h"

namespace zstats::vdevice {

PulledEvent decodeEvent(std::string_view bytes) {
    auto event = readEvent(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    if (!event) return {};
    return {event->valid(), std::move(event->fields)};
}

std::vector<std::string> jsonLines(const PulledAtom& atom) {
    if (!atom.answered()) return {jsonFailed(atom.tag, atom.failure)};
    if (atom.events.empty()) return {jsonNoEvent(atom.tag)};
    std::vector<std::string> lines;
    for (const PulledEvent& event : atom.events) {
        lines.push_back(event.valid ? jsonEvent(atom.tag, event.fields) : jsonUnbuilt(atom.tag));
    }
    return lines;
}

}  // namespace zstats::vdevice
