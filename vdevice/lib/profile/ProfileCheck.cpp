#include "vdevice/lib/profile/ProfileCheck.h"

#include <android-base/parsedouble.h>
#include <android-base/strings.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <sstream>
#include <vector>

#include "cli/lib/atoms/AtomJson.h"
#include "vdevice/lib/profile/ProfileFiles.h"
#include "vdevice/lib/profile/Scenario.h"

namespace zstats::vdevice {
namespace {

namespace fs = std::filesystem;

using android::base::Join;
using android::base::StartsWith;

constexpr size_t kPropertyValueBytes = 91;

std::string quoted(const std::string& text) {
    return "'" + text + "'";
}

constexpr char kBlanks[] = " \t\r\f\v";
constexpr char kNameCharacters[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.:@-";

bool holdsOnly(const std::string& text, const char* characters) {
    return text.find_first_not_of(characters) == std::string::npos;
}

// The checks of a line return an error text, empty if the line is valid.

std::string checkNumber(const std::string& what, const std::string& text) {
    return parseInt(text) ? "" : quoted(text) + " is no 32-bit number for " + what;
}

std::string checkProperty(const std::string& key, const std::string& value, const ProfileNames&) {
    if (key.empty() || !holdsOnly(key, kNameCharacters))
        return quoted(key) + " is no property name";
    if (StartsWith(key, "ctl.")) return quoted(key) + " is a request to init, no property";
    if (value.size() <= kPropertyValueBytes) return "";
    return "the value of " + quoted(key) + " is longer than " +
           std::to_string(kPropertyValueBytes) + " bytes";
}

std::string checkCharger(const std::string& method, const std::string& value,
                         const ProfileNames& names) {
    if (names.chargerMethods.count(method) == 0) {
        return "the charger has no method " + quoted(method);
    }
    return value == "fail" ? "" : checkNumber(method, value);
}

std::string checkCalda(const std::string& key, const std::string& value, const ProfileNames&) {
    const std::set<std::string> kNumbers = {"ambient", "exception", "status", "transport_error"};
    if (kNumbers.count(key) != 0) return checkNumber(key, value);
    if (key != "vector") return quoted(key) + " is none of " + Join(kNumbers, ", ") + ", vector";
    std::istringstream words(value);
    for (std::string word; words >> word;) {
        if (!parseInt(word)) return checkNumber(key, word);
    }
    return "";
}

std::string checkAbsent(const std::string& line, const ProfileNames& names) {
    if (names.services.count(line) != 0) return "";
    return "there is no service " + quoted(line) + " (there are: " + Join(names.services, ", ") +
           ")";
}

std::string checkFault(const std::string& service, const std::string& fault,
                       const ProfileNames& names) {
    const std::set<std::string> kFaults = {"disorder",  "error",     "garbage",
                                           "interface", "megabytes", "status"};
    const std::string reason = checkAbsent(service, names);
    if (!reason.empty() || kFaults.count(fault) != 0) return reason;
    return quoted(fault) + " is none of " + Join(kFaults, ", ");
}

bool isFeatureOff(const std::string& line) {
    std::istringstream words(line);
    std::string feature, off;
    words >> feature >> off;
    return StartsWith(feature, "feature=") && feature != "feature=" && line == feature + " off";
}

std::string checkFeature(const std::string& line, const ProfileNames&) {
    const std::set<std::string> kNumbers = {"bpf_btf", "bpf_connect", "bpf_enable", "bpf_region"};
    if (isFeatureOff(line) || line == "bpf=unsupported") return "";
    const size_t equals = line.find('=');
    const std::string key = line.substr(0, equals);
    if (equals != std::string::npos && kNumbers.count(key) != 0) {
        return checkNumber(key, line.substr(equals + 1));
    }
    return quoted(line) + " is neither 'feature=NAME off', 'bpf=unsupported' nor one of " +
           Join(kNumbers, ", ") + " with a number";
}

std::string checkTemperature(const std::string& line, const ProfileNames&) {
    std::istringstream words(line);
    std::string word, more;
    words >> word >> more;
    float degrees = 0;
    const bool good = more.empty() && holdsOnly(word, "0123456789.+-") &&
                      android::base::ParseFloat(word, &degrees);
    return good ? "" : quoted(line) + " is no temperature";
}

std::string checkAudio(const std::string& line, const ProfileNames&) {
    const std::string kStatus = "status=";
    return StartsWith(line, kStatus) ? checkNumber("status", line.substr(kStatus.size())) : "";
}

std::string checkUsageRecord(const std::string& line, const ProfileNames&) {
    if (line[0] != '!' || line == "!nontext" || line == "!fail") return "";
    return quoted(line) + " is neither '!nontext' nor '!fail'";
}

std::string checkScenario(const std::string& text) {
    const auto scenario = Scenario::parse(text);
    const auto* const fault = std::get_if<std::string>(&scenario);
    return fault == nullptr ? "" : *fault;
}

/** How a file is checked: by lines, by `key=value` lines (each key once), as a whole, or not at all. */
struct TextFile {
    const char* name;
    std::string (*line)(const std::string&, const ProfileNames&);
    std::string (*pair)(const std::string&, const std::string&, const ProfileNames&);
    std::string (*text)(const std::string&);
};

constexpr TextFile kFiles[] = {
        {profile::kAbsent, checkAbsent, nullptr, nullptr},
        {profile::kAudio, checkAudio, nullptr, nullptr},
        {profile::kBuildProp, nullptr, checkProperty, nullptr},
        {profile::kCalda, nullptr, checkCalda, nullptr},
        {profile::kCharger, nullptr, checkCharger, nullptr},
        {profile::kFaults, nullptr, checkFault, nullptr},
        {profile::kFeatures, checkFeature, nullptr, nullptr},
        {profile::kScenario, nullptr, nullptr, checkScenario},
        {profile::kThermal, checkTemperature, nullptr, nullptr},
        {profile::kTouch, nullptr, nullptr, nullptr},
        {profile::kUsage, checkUsageRecord, nullptr, nullptr},
};

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const size_t length = cli::utf8Length(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

/** The line of each key seen so far in a file of pairs. */
using SeenKeys = std::map<std::string, size_t>;

std::string checkPair(const TextFile& file, const std::string& line, size_t number,
                      const ProfileNames& names, SeenKeys* seen) {
    const size_t equals = line.find('=');
    if (equals == std::string::npos) return quoted(line) + " has no '='";
    const std::string key = line.substr(0, equals);
    const auto [first, added] = seen->emplace(key, number);
    if (!added) return quoted(key) + " is already set in line " + std::to_string(first->second);
    return file.pair(key, line.substr(equals + 1), names);
}

std::string checkLine(const TextFile& file, const std::string& line, size_t number,
                      const ProfileNames& names, SeenKeys* seen) {
    if (!isUtf8(line)) return "is not UTF-8 text";
    if (line.find('\0') != std::string::npos) return "holds a NUL character";
    if (holdsOnly(line, kBlanks) || line[0] == '#') return "";
    return file.pair != nullptr ? checkPair(file, line, number, names, seen)
                                : file.line(line, names);
}

std::string checkFile(const fs::path& path, const TextFile& file, const ProfileNames& names) {
    const auto text = readProfileFile(path);
    if (!text) return path.string() + ": is unreadable";
    if (file.text != nullptr) {
        const std::string reason = file.text(*text);
        return reason.empty() ? "" : path.string() + ": " + reason;
    }
    if (file.line == nullptr && file.pair == nullptr) return "";
    SeenKeys seen;
    std::istringstream lines(*text);
    size_t number = 1;
    for (std::string line; std::getline(lines, line); ++number) {
        const std::string reason = checkLine(file, line, number, names, &seen);
        if (!reason.empty()) return path.string() + ":" + std::to_string(number) + ": " + reason;
    }
    return "";
}

std::vector<fs::path> entriesOf(const fs::path& folder) {
    const fs::directory_iterator entries(folder);
    std::vector<fs::path> paths;
    for (const auto& entry : entries) paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::string checkNodes(const fs::path& folder) {
    const std::regex kName("([A-Za-z0-9_-]+)(\\.([1-9][0-9]{0,8}))?");
    for (const fs::path& path : entriesOf(folder)) {
        std::smatch parts;
        const std::string name = path.filename();
        if (!std::regex_match(name, parts, kName)) {
            return path.string() + ": is no key, nor KEY.N with N from 1";
        }
        if (!fs::is_regular_file(path)) return path.string() + ": is no file";
        if (!parts[3].matched) continue;
        const int step = std::stoi(parts[3]);
        const std::string key = parts[1];
        const std::string before = step == 1 ? key : key + "." + std::to_string(step - 1);
        if (!fs::exists(folder / before)) {
            return path.string() + ": there is no " + before + " before it";
        }
    }
    return "";
}

std::string checkRoot(const fs::path& folder) {
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (!entry.is_symlink() && !entry.is_directory() && !entry.is_regular_file()) {
            return entry.path().string() + ": is neither file, folder nor link";
        }
    }
    for (const char* name : {"profile", ".kernel"}) {
        if (fs::symlink_status(folder / name).type() != fs::file_type::not_found) {
            return (folder / name).string() + ": is the device's own";
        }
    }
    return "";
}

std::string checkEntry(const fs::path& path, const ProfileNames& names) {
    const std::string name = path.filename();
    if (name == profile::kNodes || name == profile::kRoot) {
        if (!fs::is_directory(path)) return path.string() + ": is no folder";
        return name == profile::kNodes ? checkNodes(path) : checkRoot(path);
    }
    // A profile may have more scenarios, "scenario.NAME".
    const std::string kind = StartsWith(name, "scenario.") ? profile::kScenario : name;
    const auto* const file = std::find_if(std::begin(kFiles), std::end(kFiles),
                                          [&](const TextFile& one) { return one.name == kind; });
    if (file == std::end(kFiles)) return path.string() + ": a profile has no such file";
    if (!fs::is_regular_file(path)) return path.string() + ": is no file";
    return checkFile(path, *file, names);
}

}  // namespace

std::string checkProfile(const std::string& folder, const ProfileNames& names) {
    try {
        if (!fs::is_directory(folder)) return folder + ": there is no such profile folder";
        for (const fs::path& path : entriesOf(folder)) {
            const std::string reason = checkEntry(path, names);
            if (!reason.empty()) return reason;
        }
        const fs::path properties = fs::path(folder) / profile::kBuildProp;
        return fs::exists(properties) ? "" : properties.string() + ": is missing";
    } catch (const fs::filesystem_error& error) {
        return error.path1().string() + ": " + error.code().message();
    }
}

}  // namespace zstats::vdevice
