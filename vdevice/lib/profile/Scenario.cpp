#include "vdevice/lib/profile/Scenario.h"

#include <android-base/parsedouble.h>
#include <android-base/parseint.h>
#include <android-base/strings.h>

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "vdevice/lib/profile/ProfileFiles.h"

namespace zstats::vdevice {
namespace {

using android::base::Trim;

constexpr std::string_view kTo = " to ";
constexpr std::string_view kUntil = " until ";

/** A kind of line, by its first word, and the target of its value. */
struct Kind {
    const char* name;
    size_t keys;           // number of words before the value
    const char* folder;    // the keys name a file in this folder; or
    const char* file;      // this file has a line for the key, or is the value
    const char* lineMark;  // replaces the blanks between words of the value
};

constexpr Kind kKinds[] = {
        {"node", 1, "nodes/", nullptr, ""},
        {"wakeup", 2, "root/sys/class/wakeup/", nullptr, ""},
        {"charger", 1, nullptr, profile::kCharger, ""},
        {"calda", 1, nullptr, profile::kCalda, ""},
        {"thermal", 0, nullptr, profile::kThermal, "\n"},
        {"audio", 0, nullptr, profile::kAudio, ""},
        {"touch", 0, nullptr, profile::kTouch, ""},
};

/** Removes and returns the first word of `text`. */
std::string takeWord(std::string* text) {
    *text = Trim(*text);
    const size_t end = std::min(text->find(' '), text->size());
    const std::string word = text->substr(0, end);
    *text = Trim(text->substr(end));
    return word;
}

/** "110 s" as seconds; false for anything else. */
bool parseSeconds(std::string text, int64_t* seconds) {
    const std::string number = takeWord(&text);
    return text == "s" && android::base::ParseInt(number, seconds, int64_t{0}, int64_t{1} << 31);
}

std::string unescaped(std::string_view text) {
    return android::base::StringReplace(text, "\\n", "\n", true);
}

bool isNumberStart(const std::string& text, size_t at) {
    const auto digit = [&](size_t i) {
        return i < text.size() && isdigit(static_cast<unsigned char>(text[i])) != 0;
    };
    return digit(at) || (text[at] == '-' && digit(at + 1) && (at == 0 || !digit(at - 1)));
}

/** The text split before and after each number, so that every second piece is a number. */
std::vector<std::string> pieces(const std::string& text) {
    std::vector<std::string> out(1);
    for (size_t i = 0; i < text.size();) {
        if (!isNumberStart(text, i)) {
            out.back() += text[i++];
            continue;
        }
        size_t end = text.find_first_not_of("0123456789.", i + 1);
        end = std::min(end, text.size());
        out.push_back(text.substr(i, end - i));
        out.emplace_back();
        i = end;
    }
    return out;
}

/** True when the two differ only in their numbers. */
bool sameShape(const std::vector<std::string>& from, const std::vector<std::string>& to) {
    if (from.size() != to.size() || from.size() < 2) return false;
    for (size_t i = 0; i < from.size(); i += 2) {
        if (from[i] != to[i]) return false;
    }
    return true;
}

/** The number after `done` of `whole` steps between the two; an integer between integers. */
std::string between(const std::string& from, const std::string& to, int64_t done, int64_t whole) {
    int64_t first = 0;
    int64_t last = 0;
    if (android::base::ParseInt(from, &first) && android::base::ParseInt(to, &last)) {
        // The difference of two 64-bit numbers may need more than 64 bits.
        const __int128 way = (static_cast<__int128>(last) - first) * done / whole;
        return std::to_string(static_cast<int64_t>(first + way));
    }
    double low = 0;
    double high = 0;
    if (!android::base::ParseDouble(from, &low) || !android::base::ParseDouble(to, &high))
        return to;
    char text[32];
    snprintf(text, sizeof(text), "%.1f",
             low + (high - low) * static_cast<double>(done) / static_cast<double>(whole));
    return text;
}

std::string withLines(const std::string& text, const char* lineMark) {
    return *lineMark == '\0' ? text : android::base::StringReplace(text, " ", lineMark, true);
}

}  // namespace

/** Fills `setting`; returns an error text if the line cannot be applied. */
std::string Scenario::parseLine(std::string line, int64_t start, Setting* setting) {
    const std::string name = takeWord(&line);
    const auto* kind = std::find_if(std::begin(kKinds), std::end(kKinds),
                                    [&](const Kind& each) { return name == each.name; });
    if (kind == std::end(kKinds)) return "'" + name + "' is nothing that can be set";
    std::string key;
    for (size_t i = 0; i < kind->keys; ++i) key += (i > 0 ? "/" : "") + takeWord(&line);
    if (line.empty()) return "'" + name + "' wants a value";
    if (key.find("..") != std::string::npos) return "'" + key + "' is no plain name";
    setting->target.file = kind->folder != nullptr ? kind->folder + key : kind->file;
    if (kind->folder == nullptr) setting->target.key = key;
    setting->start = start;
    setting->until = start;

    const size_t until = line.rfind(kUntil);
    const size_t to = line.find(kTo);
    if (until == std::string::npos || to == std::string::npos || to > until) {
        setting->from = withLines(unescaped(line), kind->lineMark);
        setting->to = setting->from;
        return "";
    }
    if (!parseSeconds(line.substr(until + kUntil.size()), &setting->until) ||
        setting->until <= start) {
        return "a time later than " + std::to_string(start) +
               " s, such as '90 s', must follow 'until'";
    }
    const std::string first = Trim(line.substr(0, to));
    const std::string second = Trim(line.substr(to + kTo.size(), until - to - kTo.size()));
    setting->from = withLines(unescaped(first), kind->lineMark);
    setting->to = withLines(unescaped(second), kind->lineMark);
    if (!sameShape(pieces(setting->from), pieces(setting->to))) {
        return "the texts before and behind 'to' differ in more than their numbers";
    }
    return "";
}

std::variant<Scenario, std::string> Scenario::parse(std::string_view text) {
    Scenario scenario;
    int64_t start = -1;
    int number = 0;
    for (const std::string& raw : android::base::Split(std::string(text), "\n")) {
        ++number;
        const std::string line = Trim(raw);
        if (line.empty() || line.front() == '#') continue;
        std::string reason;
        int64_t next = 0;
        if (android::base::StartsWith(line, "at ")) {
            if (!parseSeconds(line.substr(3), &next) || next < start) {
                reason = "a time not before the last step's, such as '20 s', must follow 'at'";
            }
            start = next;
        } else if (start < 0) {
            reason = "a step, such as 'at 0 s', must stand before it";
        } else {
            Setting setting;
            reason = parseLine(line, start, &setting);
            scenario.mSettings.push_back(std::move(setting));
        }
        if (!reason.empty()) return "line " + std::to_string(number) + ": " + reason;
    }
    return scenario;
}

std::string Scenario::textAt(const Setting& setting, int64_t second) {
    if (second >= setting.until) return setting.to;
    const std::vector<std::string> from = pieces(setting.from);
    const std::vector<std::string> to = pieces(setting.to);
    std::string out;
    for (size_t i = 0; i < from.size(); ++i) {
        const bool isNumber = i % 2 == 1;
        out += isNumber ? between(from[i], to[i], second - setting.start,
                                  setting.until - setting.start)
                        : from[i];
    }
    return out;
}

std::map<Scenario::Target, std::string> Scenario::at(int64_t second) const {
    std::map<Target, std::string> values;
    for (const Setting& setting : mSettings) {
        if (setting.start <= second) values[setting.target] = textAt(setting, second);
    }
    return values;
}

int64_t Scenario::end() const {
    int64_t last = 0;
    for (const Setting& setting : mSettings) last = std::max(last, setting.until);
    return last;
}

}  // namespace zstats::vdevice
