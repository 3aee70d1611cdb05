#include "vdevice/lib/profile/RcServices.h"

#include <android-base/file.h>
#include <android-base/strings.h>

#include <filesystem>

namespace zstats::vdevice {

std::vector<RcService> rcServices(const std::string& text) {
    std::vector<RcService> services;
    bool inService = false;
    for (const std::string& line : android::base::Split(text, "\n")) {
        const std::vector<std::string> words = android::base::Tokenize(line, " \t\r");
        const std::string first = words.empty() ? "" : words[0];
        if (first == "service" || first == "on" || first == "import") {
            inService = first == "service" && words.size() > 1;
            if (inService) services.push_back({words[1], {}, ""});
        }
        if (!inService) continue;
        if (first == "interface" && words.size() > 2)
            services.back().interfaces.push_back(words[2]);
        services.back().section += line + "\n";
    }
    return services;
}

std::vector<RcService> rcServicesIn(const std::vector<std::string>& folders) {
    std::vector<RcService> all;
    for (const std::string& folder : folders) {
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator(folder, ignored)) {
            std::string text;
            android::base::ReadFileToString(entry.path(), &text);
            for (RcService& service : rcServices(text)) all.push_back(std::move(service));
        }
    }
    return all;
}

}  // namespace zstats::vdevice
