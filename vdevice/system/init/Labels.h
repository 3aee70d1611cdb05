#pragma once

#include <optional>
#include <string>

namespace zstats::vdevice {

/** Loads the SELinux policy and becomes the domain init. Returns what went wrong, empty if nothing. */
std::string loadPolicy();

/**
 * Gives programs, libraries, devices and the profile the labels of file_contexts. What the profile
 * shows at other paths gets the labels of those. Returns what went wrong, empty if nothing.
 */
std::string labelFiles();

/** Labels one file as file_contexts has it for its path. A path that it does not name is left alone. */
void labelFile(const std::string& path);

/** While it lives, what this thread makes has from the start the label of a path. */
class LabelledCreation {
  public:
    explicit LabelledCreation(const std::string& path);
    ~LabelledCreation();
    LabelledCreation(const LabelledCreation&) = delete;
    LabelledCreation& operator=(const LabelledCreation&) = delete;
};

/**
 * The domain in which a program of init's runs, by its label; nothing, and a line in the log, when
 * the policy has no domain for it. Empty on a machine without SELinux.
 */
std::optional<std::string> domainOfProgram(const std::string& path);

}  // namespace zstats::vdevice
