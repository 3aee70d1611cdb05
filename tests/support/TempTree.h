#pragma once

#include <android-base/file.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace zstats {

/** A folder of its own with files in it, removed at the end. */
class TempTree {
  public:
    TempTree() {}  // not defaulted: clang++ 14 would let no folder be const
    /** Path of `name` in the folder; with an empty name the folder's, with a final slash. */
    std::string path(const std::string& name) const { return mFolder.path + ("/" + name); }

    /** Writes a file, and the folders above it. */
    void write(const std::string& name, const std::string& content) const {
        const std::filesystem::path file = path(name);
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << content;
    }

  private:
    const TemporaryDir mFolder;
};

}  // namespace zstats
