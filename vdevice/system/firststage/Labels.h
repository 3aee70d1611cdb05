#pragma once

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

}  // namespace zstats::vdevice
