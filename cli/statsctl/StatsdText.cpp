#include "cli/statsctl/StatsdText.h"

#include <android-base/parseint.h>
#include <android-base/strings.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

namespace zstats::cli {
namespace {

// A field's number has its position, from 1, above these bits.
constexpr int kFieldShift = 16;

/** Removes an expected text from the front; false if it is missing. */
bool take(std::string_view* text, std::string_view expected) {
    if (text->substr(0, expected.size()) != expected) return false;
    text->remove_prefix(expected.size());
    return true;
}

/** Removes and parses a decimal number with optional sign. */
std::optional<int64_t> takeNumber(std::string_view* text) {
    const size_t sign = text->substr(0, 1) == "-" ? 1 : 0;
    const size_t length = std::min(text->find_first_not_of("0123456789", sign), text->size());
    int64_t number = 0;
    if (!android::base::ParseInt(std::string(text->substr(0, length)), &number)) return {};
    text->remove_prefix(length);
    return number;
}

/** The counter of this name in `counts`; null for unused ones. */
int64_t* counterOf(PullCounts* counts, std::string_view name) {
    const std::pair<std::string_view, int64_t*> kCounters[] = {
            {"total pull", &counts->pulls},
            {"pull from cache", &counts->fromCache},
            {"pull timeout", &counts->timedOut},
            {"no puller found count", &counts->noPuller},
            {"binder call failed", &counts->callFailed},
            {"registered count", &counts->registered},
            {"unregistered count", &counts->unregistered},
    };
    for (const auto& [known, counter] : kCounters) {
        if (known == name) return counter;
    }
    return nullptr;
}

/** Reads the counters of a line: each a name in brackets, and its number. */
void readCounters(std::string_view line, PullCounts* counts) {
    for (size_t open = line.find('('); open != line.npos; open = line.find('(', open + 1)) {
        const size_t close = line.find(')', open);
        if (close == line.npos) return;
        int64_t* counter = counterOf(counts, line.substr(open + 1, close - open - 1));
        std::string_view rest = line.substr(close + 1);
        take(&rest, " ");
        const auto number = takeNumber(&rest);
        if (counter != nullptr && number) *counter = *number;
    }
}

std::string fieldHead(size_t index) {
    char text[32];
    snprintf(text, sizeof(text), "%#zx->", (index + 1) << kFieldShift);
    return text;
}

/** The value of a text with the letter of its type, converted to the catalogue's type. */
AtomValue valueOf(std::string text, char letter, std::string_view catalogued) {
    if (letter == 'S') return text;
    if (letter == 'F') return strtof(text.c_str(), nullptr);
    const int64_t number = strtoll(text.c_str(), nullptr, 10);
    if (catalogued == "bool") return number != 0;
    if (letter == 'L') return number;
    return static_cast<int32_t>(number);
}

/** Reads "pull-source" events. */
class PullReader {
  public:
    PullReader(int32_t tag, std::string_view text)
          : mTag(tag), mHead("Pull from " + std::to_string(tag) + ": "), mText(text) {}

    std::optional<std::vector<StreamedAtom>> read() {
        std::vector<StreamedAtom> events;
        while (take(&mText, mHead)) {
            if (!take(&mText, "Received ")) {
                if (!readEvent(&events.emplace_back())) return std::nullopt;
                continue;
            }
            const auto count = takeNumber(&mText);
            const bool whole = count == static_cast<int64_t>(events.size()) &&
                               take(&mText, " elements\n") && mText.empty();
            if (!whole) return std::nullopt;
            return events;
        }
        return std::nullopt;
    }

  private:
    /** "{ uid(-1) WALL ELAPSED (TAG)", the fields, and the end. */
    bool readEvent(StreamedAtom* event) {
        if (!take(&mText, "{ uid(") || !takeNumber(&mText) || !take(&mText, ") ")) return false;
        if (!takeNumber(&mText) || !take(&mText, " ")) return false;
        const auto elapsed = takeNumber(&mText);
        if (!elapsed || !take(&mText, " (" + std::to_string(mTag) + ")")) return false;
        event->id = mTag;
        event->timestampNs = *elapsed;
        const AtomInfo& info = atomInfo(mTag);
        for (size_t i = 0; take(&mText, fieldHead(i)); ++i) {
            const size_t end = valueEnd(i);
            if (end == mText.npos) return false;
            event->fields.push_back(valueOf(std::string(mText.substr(0, end)), mText[end + 1],
                                            i < info.fields.size() ? info.fields[i].type : ""));
            mText.remove_prefix(end + 4);
        }
        return take(&mText, " }\n");
    }

    /**
     * The end of a value: before the letter of its type, which the next field or the end of the
     * event follows. A text may contain brackets and line ends.
     */
    size_t valueEnd(size_t index) const {
        const std::string next = fieldHead(index + 1);
        const std::string end = " }\n" + mHead;
        for (size_t at = mText.find('['); at != mText.npos; at = mText.find('[', at + 1)) {
            std::string_view rest = mText.substr(at + 1);
            if (rest.size() < 3 || std::string_view("ILFS").find(rest[0]) == rest.npos) continue;
            rest.remove_prefix(1);
            if (take(&rest, "] ") &&
                (rest.substr(0, next.size()) == next || rest.substr(0, end.size()) == end)) {
                return at;
            }
        }
        return mText.npos;
    }

    const int32_t mTag;
    const std::string mHead;
    std::string_view mText;
};

}  // namespace

std::map<int32_t, PullCounts> parsePullCounts(std::string_view text) {
    std::map<int32_t, PullCounts> all;
    PullCounts* current = nullptr;
    for (const std::string& line : android::base::Split(std::string(text), "\n")) {
        std::string_view rest = line;
        if (take(&rest, "Atom ")) {
            const auto tag = takeNumber(&rest);
            const bool pulled = tag && rest.substr(0, 14) == "->(total pull)";
            current = pulled ? &all[static_cast<int32_t>(*tag)] : nullptr;
        } else if (rest.substr(0, 3) != "  (") {
            current = nullptr;
        }
        if (current != nullptr) readCounters(rest, current);
    }
    return all;
}

std::optional<std::vector<StreamedAtom>> parsePullText(int32_t tag, std::string_view text) {
    return PullReader(tag, text).read();
}

}  // namespace zstats::cli
