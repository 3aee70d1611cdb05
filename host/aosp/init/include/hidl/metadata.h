#pragma once

#include <string>
#include <vector>

// All HIDL interfaces of the platform, for the verifier of rc files: none.

struct HidlInterfaceMetadata {
    std::string name;
    std::vector<std::string> inherited;
    static std::vector<HidlInterfaceMetadata> all() { return {}; }
};
