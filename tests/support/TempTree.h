#pragma once

#include <android-base/file.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace zstats {

/** A temporary folder with files, removed by the destructor. */
class TempTree {
  public:
    TempTree() {}  // not defaulted: clang++ 14 refuses a const object then
    /** Path of `name` in the folder; for an empty name the folder's path, with a slash at the end. */
    std::string path(const std::string& name) const { return mFolder.path + ("/" + name); }

    /** Writes a file and creates its parent folders. */
    void write(const std::string& name, const std::string& content) const {
        const std::filesystem::path file = path(name);
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << content;
    }

  private:
    const TemporaryDir mFolder;
};

}  // namespace zstats
