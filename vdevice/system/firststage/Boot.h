#pragma once

#include <string>

namespace zstats::vdevice {

/** The kernel's /proc and /sys stay visible here when a profile changes them. */
inline constexpr char kKernelTrees[] = "/.kernel";

/** Mounts the file systems and creates the folders and the log file that later steps need. */
void mountFileSystems();

/** Sets a phone's limit of descriptors for a process. */
void raiseDescriptorLimit();

/** Mounts the file systems whose files need labels. Call after loadPolicy(). */
void mountLabelledFileSystems();

/** Loads the binder driver and opens it to all users. Returns an error text, empty on success. */
std::string loadBinder();

/** Links the profile's properties to init's file. Returns an error text, empty on success. */
std::string showBuildProp();

/** Shows the files of the profile's folder "root" at their paths. Returns an error text, empty on
 * success. */
std::string showProfileFiles();

}  // namespace zstats::vdevice
