#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace zstats {

/** A folder of its own with files in it, removed at the end. Throws when it cannot be made. */
class TempTree {
  public:
    TempTree() {
        std::string pattern = (std::filesystem::temp_directory_path() / "zstatsXXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("cannot make a folder like " + pattern);
        }
        mRoot = pattern;
    }
    ~TempTree() {
        std::error_code ignored;
        std::filesystem::remove_all(mRoot, ignored);
    }
    TempTree(const TempTree&) = delete;
    TempTree& operator=(const TempTree&) = delete;

    /** Path of `name` in the folder; with an empty name the folder's, with a final slash. */
    std::string path(const std::string& name) const { return mRoot + "/" + name; }

    /** Writes a file, and the folders above it. */
    void write(const std::string& name, const std::string& content) const {
        const std::filesystem::path file = path(name);
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << content;
    }

  private:
    std::string mRoot;
};

}  // namespace zstats
