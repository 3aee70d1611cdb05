#include "cli/lib/CommandLine.h"

#include <getopt.h>

#include <cstdio>

namespace zstats::cli {
namespace {

constexpr int kHelp = 'h';
// What getopt_long() returns for the first option; beyond all characters.
constexpr int kFirstOption = 256;

/** The word that getopt_long() has just refused. */
const char* refusedWord(char** argv) {
    if (optopt > 0 && optopt < kFirstOption) {
        // A letter, or a number below 0: the word may hold more of them.
        for (char** word = argv + 1; *word != nullptr; ++word) {
            if ((*word)[0] == '-' && (*word)[1] == optopt) return *word;
        }
    }
    return argv[optind - 1];
}

}  // namespace

std::string notANumber(const char* value, long long least, long long most) {
    return "'" + std::string(value) + "' is no number from " + std::to_string(least) + " to " +
           std::to_string(most);
}

void CommandLine::flag(const char* name, bool* target) {
    mOptions.push_back({name, false, [=](const char*) {
                            *target = true;
                            return std::string();
                        }});
}

void CommandLine::text(const char* name, std::string* target) {
    mOptions.push_back({name, true, [=](const char* value) {
                            *target = value;
                            return std::string();
                        }});
}

int CommandLine::complain(const std::string& reason) const {
    fprintf(stderr, "%s: %s\n", mProgram.c_str(), reason.c_str());
    return kExitUsage;
}

/** What is wrong with what getopt_long() has found, or empty. */
std::string CommandLine::takeOption(int found, char** argv) {
    if (found == ':') return "a value must follow " + std::string(argv[optind - 1]);
    if (found == '?' && optopt >= kFirstOption) {
        return "--" + std::string(mOptions.at(optopt - kFirstOption).name) + " takes no value";
    }
    if (found == '?') return "unknown option '" + std::string(refusedWord(argv)) + "'";
    const Option& option = mOptions.at(found - kFirstOption);
    const std::string fault = option.take(optarg);
    return fault.empty() ? "" : "--" + std::string(option.name) + ": " + fault;
}

std::optional<int> CommandLine::read(int argc, char** argv, std::vector<std::string>* words) {
    std::vector<option> known{{"help", no_argument, nullptr, kHelp}};
    for (const Option& one : mOptions) {
        const int result = kFirstOption + static_cast<int>(known.size()) - 1;
        known.push_back({one.name, one.hasValue ? required_argument : no_argument, nullptr, result});
    }
    known.push_back({});
    std::string letters = mOrder + ":h";
    for (const auto& [name, target] : mLetters) letters += name;
    optind = 1;
    opterr = 0;
    int found = 0;
    while ((found = getopt_long(argc, argv, letters.c_str(), known.data(), nullptr)) != -1) {
        if (found == kHelp) {
            fputs(mHelp.c_str(), stdout);
            return 0;
        }
        if (const auto letter = mLetters.find(static_cast<char>(found));
            found < kFirstOption && letter != mLetters.end()) {
            *letter->second = true;
            continue;
        }
        const std::string fault = takeOption(found, argv);
        if (!fault.empty()) return complain(fault);
    }
    words->assign(argv + optind, argv + argc);
    return std::nullopt;
}

std::optional<int> CommandLine::read(int argc, char** argv) {
    std::vector<std::string> words;
    const std::optional<int> ended = read(argc, argv, &words);
    if (ended || words.empty()) return ended;
    return complain("takes no word ('" + words[0] + "')");
}

}  // namespace zstats::cli
