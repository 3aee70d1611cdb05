#pragma once

#include <string>

#include "unexpected.h"

// Names of HIDL interfaces, which no service here has.

namespace android {

class FQName {
  public:
    static bool parse(const std::string& /*text*/, FQName* /*name*/) {
        unexpected("FQName::parse");
    }
    bool setTo(const std::string& /*text*/) { unexpected("FQName::setTo"); }
    bool isFullyQualified() const { return false; }
    bool isValidValueName() const { return false; }
    std::string string() const { return ""; }
    bool operator<(const FQName& /*other*/) const { return false; }
};

}  // namespace android
