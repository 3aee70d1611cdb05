#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "vendor/substitute/Substitute.h"

namespace zstats {

/**
 * A profile of the test's own for the substitutes of the closed libraries, for the life of the
 * object. Being a folder of its own it also keeps apart the channels of tests that run at once.
 */
class SubstituteProfile {
  public:
    SubstituteProfile() {
        char folder[] = "/tmp/zstats_profile.XXXXXX";
        mFolder = mkdtemp(folder);
        substitute::useProfile(mFolder);
        substitute::clearBpfCalls();
    }
    ~SubstituteProfile() {
        substitute::useProfile("/profile");
        std::error_code ignored;
        std::filesystem::remove_all(mFolder, ignored);
    }
    SubstituteProfile(const SubstituteProfile&) = delete;
    SubstituteProfile& operator=(const SubstituteProfile&) = delete;

    /** Writes a file of the profile, "features" say; the path of it. */
    std::string write(const std::string& name, const std::string& text) const {
        const std::string path = mFolder + "/" + name;
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

  private:
    std::string mFolder;
};

}  // namespace zstats
