#pragma once

#include <string>
#include <vector>

namespace zstats::vdevice {

/** One step in showing a profile's files at their places. */
struct OverlayStep {
    enum class Kind {
        kTmpfs,   // mount an empty, writable file system over the folder `path`
        kFolder,  // make the folder `path`, which may exist already
        kFile,    // make the empty file `path`, to be mounted over
        kLink,    // make a symbolic link at `path` to `source`
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
 * Plans how the files below `overlay` come to be seen at the same paths below "/".
 *
 * What the kernel's /proc and /sys have is mounted over. Neither takes new entries, so a folder of
 * theirs that lacks a name is replaced by a writable one, whose other entries are links into
 * `kernel`, where the kernel's own trees stay visible (as `kernel`/proc and `kernel`/sys). When
 * that is /proc itself, each process is a link too, for ids up to `maxPid`. A folder
 * /sys/class/NAME takes the place of the kernel's as a whole. Everything outside /proc and /sys is
 * taken as writable.
 *
 * Reads both trees and changes nothing; `seenKernel` is where the links lead (the path of `kernel`
 * in the device). Throws std::filesystem::filesystem_error when `overlay` cannot be read.
 */
std::vector<OverlayStep> planOverlay(const std::string& overlay, const std::string& kernel,
                                     const std::string& seenKernel, int maxPid);

}  // namespace zstats::vdevice
