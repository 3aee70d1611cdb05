#pragma once

#include <string>
#include <vector>

namespace zstats::vdevice {

/** One step of showing a profile's files at their paths. */
struct OverlayStep {
    enum class Kind {
        kTmpfs,   // mount an empty, writable file system over the folder `path`
        kFolder,  // create the folder `path`, which may exist
        kFile,    // create the empty file `path`, as a mount point
        kLink,    // create a symbolic link at `path` to `source`
        kBind,    // mount the file or folder `source` over `path`
    };

    Kind kind;
    std::string path;
    std::string source;

    bool operator==(const OverlayStep& other) const {
        return kind == other.kind && path == other.path && source == other.source;
    }
};

/**
 * Plans the steps that show the files below `overlay` at the same paths below "/".
 *
 * Existing entries of /proc and /sys are mounted over. Neither accepts new entries, so a folder
 * that lacks a name is replaced by a writable one, whose other entries are links into `kernel`,
 * where the kernel's trees stay visible (`kernel`/proc and `kernel`/sys). If /proc itself is
 * replaced, each process is a link as well, for ids up to `maxPid`. A folder /sys/class/NAME
 * replaces the kernel's as a whole. Paths outside /proc and /sys are taken as writable.
 *
 * Reads both trees and changes nothing. `seenKernel` is the target of the links: the path of
 * `kernel` in the device. Throws std::filesystem::filesystem_error when `overlay` cannot be read.
 */
std::vector<OverlayStep> planOverlay(const std::string& overlay, const std::string& kernel,
                                     const std::string& seenKernel, int maxPid);

}  // namespace zstats::vdevice
