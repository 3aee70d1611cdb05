#pragma once

#include <string>

#include "FQName.h"
#include "unexpected.h"

// An instance of a HIDL interface.

namespace android {

class FqInstance {
  public:
    bool setTo(const std::string& /*text*/) { unexpected("FqInstance::setTo"); }
    FQName getFqName() const { return {}; }
};

}  // namespace android
