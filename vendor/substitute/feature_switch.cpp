#include "vendor/include/feature_switch.h"

#include <string>

#include "vendor/substitute/Profile.h"

bool isOsFeatureEnabled(const char* feature) {
    return !zstats::substitute::hasFeatureLine("feature=" + std::string(feature) + " off");
}
