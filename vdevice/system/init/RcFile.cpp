#include "vdevice/system/init/RcFile.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <set>
#include <sstream>

#include "vdevice/lib/UserIds.h"

namespace zstats::vdevice {
namespace {

using Words = std::vector<std::string>;

constexpr size_t kAnyNumber = 1000;

/** How many arguments a keyword takes, and its effect; `apply` returns what is wrong. */
template <typename Target>
struct Keyword {
    size_t minArguments;
    size_t maxArguments;
    std::string (*apply)(Target* target, const Words& words);
};

Words splitWords(const std::string& line) {
    std::istringstream stream(line);
    Words words;
    for (std::string word; stream >> word;) words.push_back(word);
    return words;
}

std::optional<unsigned> parseNumber(const std::string& text, int base) {
    unsigned value = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value, base);
    if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
    return value;
}

std::string unknown(const char* what, const std::string& text) {
    return std::string("unknown ") + what + " '" + text + "'";
}

std::string applyUser(RcService* service, const Words& words) {
    const auto uid = parseUserId(words[1]);
    if (!uid) return unknown("user", words[1]);
    service->uid = *uid;
    return "";
}

std::string applyGroup(RcService* service, const Words& words) {
    service->gids.clear();
    for (size_t i = 1; i < words.size(); ++i) {
        const auto gid = parseUserId(words[i]);
        if (!gid) return unknown("group", words[i]);
        service->gids.push_back(*gid);
    }
    return "";
}

std::string applyRestartPeriod(RcService* service, const Words& words) {
    const auto seconds = parseNumber(words[1], 10);
    if (!seconds) return "'" + words[1] + "' is no number of seconds";
    service->restartPeriod = std::chrono::seconds(*seconds);
    return "";
}

std::string applySocket(RcService* service, const Words& words) {
    RcSocket socket;
    socket.name = words[1];
    socket.passCredentials = words[2] == "dgram+passcred";
    if (!socket.passCredentials && words[2] != "dgram") return unknown("socket type", words[2]);
    const auto mode = parseNumber(words[3], 8);
    if (!mode || *mode > 0777) return unknown("mode", words[3]);
    const auto uid = parseUserId(words[4]);
    const auto gid = parseUserId(words[5]);
    if (!uid) return unknown("user", words[4]);
    if (!gid) return unknown("group", words[5]);
    socket.mode = *mode;
    socket.uid = *uid;
    socket.gid = *gid;
    service->sockets.push_back(socket);
    return "";
}

std::string applyInterface(RcService* service, const Words& words) {
    if (words[1] != "aidl") return unknown("kind of interface", words[1]);
    service->interfaces.push_back(words[2]);
    return "";
}

const std::map<std::string, Keyword<RcService>>& serviceKeywords() {
    static const std::map<std::string, Keyword<RcService>> keywords = {
            {"capabilities",
             {0, 0,
              [](RcService* service, const Words&) {
                  service->noCapabilities = true;
                  return std::string();
              }}},
            {"class",
             {1, 1,
              [](RcService* service, const Words& words) {
                  service->className = words[1];
                  return std::string();
              }}},
            {"disabled",
             {0, 0,
              [](RcService* service, const Words&) {
                  service->disabled = true;
                  return std::string();
              }}},
            {"group", {1, kAnyNumber, applyGroup}},
            {"interface", {2, 2, applyInterface}},
            {"needs",
             {1, kAnyNumber,
              [](RcService* service, const Words& words) {
                  service->needs.insert(service->needs.end(), words.begin() + 1, words.end());
                  return std::string();
              }}},
            {"oneshot",
             {0, 0,
              [](RcService* service, const Words&) {
                  service->oneshot = true;
                  return std::string();
              }}},
            {"restart_period", {1, 1, applyRestartPeriod}},
            {"socket", {5, 5, applySocket}},
            {"user", {1, 1, applyUser}},
    };
    return keywords;
}

std::string addCommand(RcAction* action, const Words& words) {
    action->commands.push_back(words);
    return "";
}

const std::map<std::string, Keyword<RcAction>>& commands() {
    static const std::map<std::string, Keyword<RcAction>> keywords = {
            {"class_start", {1, 1, addCommand}}, {"mkdir", {1, 1, addCommand}},
            {"setprop", {2, 2, addCommand}},     {"start", {1, 1, addCommand}},
            {"stop", {1, 1, addCommand}},
    };
    return keywords;
}

template <typename Target>
std::string applyKeyword(const std::map<std::string, Keyword<Target>>& keywords, Target* target,
                         const Words& words) {
    const auto found = keywords.find(words[0]);
    if (found == keywords.end()) return unknown("keyword", words[0]);
    const size_t arguments = words.size() - 1;
    if (arguments < found->second.minArguments || arguments > found->second.maxArguments) {
        return "wrong number of arguments for '" + words[0] + "'";
    }
    return found->second.apply(target, words);
}

std::string startService(const Words& words, RcFile* out) {
    if (words.size() < 3) return "a service needs a name and a path";
    if (words[2].front() != '/') return "'" + words[2] + "' is no absolute path";
    const auto same = [&](const RcService& service) { return service.name == words[1]; };
    if (std::any_of(out->services.begin(), out->services.end(), same)) {
        return "there is a service '" + words[1] + "' already";
    }
    RcService service;
    service.name = words[1];
    service.command.assign(words.begin() + 2, words.end());
    out->services.push_back(service);
    return "";
}

std::string addTrigger(RcAction* action, const std::string& trigger) {
    static const std::string kProperty = "property:";
    static const std::set<std::string> kEvents = {"boot", "manager-ready"};
    if (trigger.compare(0, kProperty.size(), kProperty) == 0) {
        const size_t equals = trigger.find('=');
        if (equals == std::string::npos) return "'" + trigger + "' names no value";
        action->properties.push_back({trigger.substr(kProperty.size(), equals - kProperty.size()),
                                      trigger.substr(equals + 1)});
        return "";
    }
    if (kEvents.count(trigger) == 0) return unknown("trigger", trigger);
    if (!action->event.empty()) return "there can be one event only";
    action->event = trigger;
    return "";
}

std::string startAction(const Words& words, RcFile* out) {
    if (words.size() % 2 != 0) return "'on' needs triggers with '&&' between them";
    RcAction action;
    for (size_t i = 1; i < words.size(); i += 2) {
        if (i > 1 && words[i - 1] != "&&") return "'on' needs triggers with '&&' between them";
        const std::string error = addTrigger(&action, words[i]);
        if (!error.empty()) return error;
    }
    out->actions.push_back(std::move(action));
    return "";
}

/** Goes through a file line by line; a stanza lasts until the next one begins. */
class Parser {
  public:
    explicit Parser(RcFile* out) : mOut(out) {}

    std::string line(const Words& words) {
        if (words[0] == "service") {
            mStanza = Stanza::kService;
            return startService(words, mOut);
        }
        if (words[0] == "on") {
            mStanza = Stanza::kAction;
            return startAction(words, mOut);
        }
        switch (mStanza) {
            case Stanza::kService:
                return applyKeyword(serviceKeywords(), &mOut->services.back(), words);
            case Stanza::kAction:
                return applyKeyword(commands(), &mOut->actions.back(), words);
            case Stanza::kNone:
                break;
        }
        return unknown("stanza", words[0]);
    }

  private:
    enum class Stanza { kNone, kService, kAction };

    RcFile* const mOut;
    Stanza mStanza = Stanza::kNone;
};

}  // namespace

std::string parseRcFile(const std::string& file, std::string_view text, RcFile* out) {
    std::istringstream stream{std::string(text)};
    Parser parser(out);
    int number = 0;
    for (std::string line; std::getline(stream, line);) {
        ++number;
        const Words words = splitWords(line);
        if (words.empty() || words[0][0] == '#') continue;
        const std::string error = parser.line(words);
        if (!error.empty()) return file + ":" + std::to_string(number) + ": " + error;
    }
    return "";
}

}  // namespace zstats::vdevice
