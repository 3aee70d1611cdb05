#pragma once

#include <string>

#include "tests/support/TempTree.h"
#include "vendor/substitute/Substitute.h"

namespace zstats {

/**
 * A profile for the substitutes of the closed libraries, while the object exists. Its folder is
 * unique, so that tests that run at the same time have separate channels.
 */
class SubstituteProfile {
  public:
    SubstituteProfile() { substitute::useProfile(mTree.path("")); }
    ~SubstituteProfile() { substitute::useProfile("/profile"); }

    /** Writes a file of the profile, such as "features"; returns its path. */
    std::string write(const std::string& name, const std::string& text) const {
        mTree.write(name, text);
        return mTree.path(name);
    }

  private:
    const TempTree mTree;
};

}  // namespace zstats
