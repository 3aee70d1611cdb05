#pragma once

#include <string>

namespace zstats::vdevice {

/** Loads the SELinux policy and enters the domain init. Returns an error text, empty on success. */
std::string loadPolicy();

/**
 * Labels programs, libraries, devices and the profile as file_contexts says. Files of the profile's
 * "root" get the labels of the paths at which they are shown. Returns an error text, empty on
 * success.
 */
std::string labelFiles();

/** Labels one file by its path, if file_contexts lists that path. */
void labelFile(const std::string& path);

}  // namespace zstats::vdevice
