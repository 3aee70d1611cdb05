#pragma once

#include <string>

#include "tests/support/TempTree.h"
#include "vendor/substitute/Substitute.h"

namespace zstats {

/**
 * A profile of the test's own for the substitutes of the closed libraries, for the life of the
 * object. Being a folder of its own it also keeps apart the channels of tests that run at once.
 */
class SubstituteProfile {
  public:
    SubstituteProfile() { substitute::useProfile(mTree.path("")); }
    ~SubstituteProfile() { substitute::useProfile("/profile"); }

    /** Writes a file of the profile, "features" say; the path of it. */
    std::string write(const std::string& name, const std::string& text) const {
        mTree.write(name, text);
        return mTree.path(name);
    }

  private:
    const TempTree mTree;
};

}  // namespace zstats
