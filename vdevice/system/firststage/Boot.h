#pragma once

#include <string>

namespace zstats::vdevice {

/** Where the kernel's own /proc and /sys stay visible when a profile changes them. */
inline constexpr char kKernelTrees[] = "/.kernel";

/** Makes the file systems, devices and the log file that everything else needs. */
void mountFileSystems();

/** As many descriptors for a process as a phone's init allows. */
void raiseDescriptorLimit();

/** Mounts what has to carry labels, once there is a policy. */
void mountLabelledFileSystems();

/** Loads the binder driver and lets everyone use it. Returns what went wrong, empty if nothing. */
std::string loadBinder();

/** Puts the profile's properties where init looks for them. Returns what went wrong, empty if nothing. */
std::string showBuildProp();

/** Shows the files of the profile's folder "root" at their places. */
std::string showProfileFiles();

}  // namespace zstats::vdevice
