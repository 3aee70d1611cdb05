#pragma once

#include <string>
#include <vector>

// The HIDL interfaces of the platform, for host_init_verifier: none.

struct HidlInterfaceMetadata {
    std::string name;
    std::vector<std::string> inherited;
    static std::vector<HidlInterfaceMetadata> all() { return {}; }
};
