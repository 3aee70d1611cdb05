#pragma once

#include <android-base/parseint.h>

#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zstats::cli {

/** Exit status of a program that was called wrongly. */
inline constexpr int kExitUsage = 2;

/** The words that follow a program's name: options, and others. Not thread-safe. */
class CommandLine {
  public:
    /** `program` begins each complaint; `help` is what --help prints, and has to outlive this. */
    CommandLine(std::string program, std::string help)
          : mProgram(std::move(program)), mHelp(std::move(help)) {}

    /** An option without a value. The names have no dashes; the targets have to outlive read(). */
    void flag(const char* name, bool* target);
    /** An option of one letter, after one dash, without a value. */
    void letter(char name, bool* target) { mLetters[name] = target; }
    /** An option with any text as its value. */
    void text(const char* name, std::string* target);
    /** An option with an integer of the target's size as its value, in decimal or after 0x. */
    template <typename Number>
    void number(const char* name, Number* target, Number least = std::numeric_limits<Number>::min(),
                Number most = std::numeric_limits<Number>::max());
    template <typename Number>
    void number(const char* name, std::optional<Number>* target, Number least, Number most);

    /** Takes all after the first word that is no option as further words, as "--" does. */
    void endOptionsAtWord() { mOrder = "+"; }

    /**
     * Reads a call; argv[0] is left out. Puts the words that are no options into `words`. Returns
     * nothing if the program is to run, else the status to end with: 0 after help, kExitUsage after
     * one line on standard error.
     */
    std::optional<int> read(int argc, char** argv, std::vector<std::string>* words);

    /** The same for a program that takes options alone. */
    std::optional<int> read(int argc, char** argv);

    /** Says what is wrong with a call; returns kExitUsage. */
    int complain(const std::string& reason) const;

  private:
    /** Takes an option's value; what is wrong with it, or empty. */
    using Take = std::function<std::string(const char* value)>;
    struct Option {
        const char* name;
        bool hasValue;
        Take take;
    };

    std::string takeOption(int found, char** argv);

    std::string mProgram;
    std::string mHelp;
    std::string mOrder;
    std::map<char, bool*> mLetters;
    std::vector<Option> mOptions;
};

/** What is wrong with a value that is no number from `least` to `most`. */
std::string notANumber(const char* value, long long least, long long most);

template <typename Number>
void CommandLine::number(const char* name, Number* target, Number least, Number most) {
    mOptions.push_back({name, true, [=](const char* value) {
                            return android::base::ParseInt(value, target, least, most)
                                           ? std::string()
                                           : notANumber(value, least, most);
                        }});
}

template <typename Number>
void CommandLine::number(const char* name, std::optional<Number>* target, Number least,
                         Number most) {
    mOptions.push_back({name, true, [=](const char* value) {
                            const bool good =
                                    android::base::ParseInt(value, &target->emplace(), least, most);
                            return good ? std::string() : notANumber(value, least, most);
                        }});
}

}  // namespace zstats::cli
