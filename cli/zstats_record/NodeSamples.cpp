#include "cli/zstats_record/NodeSamples.h"

namespace zstats::cli {

std::vector<std::pair<std::string, std::string>> nodeFiles(const std::string& key,
                                                           std::vector<std::string> contents) {
    while (contents.size() > 1 && contents.back() == contents[contents.size() - 2]) {
        contents.pop_back();
    }
    std::vector<std::pair<std::string, std::string>> files;
    for (std::string& content : contents) {
        const size_t step = files.size();
        files.emplace_back(step == 0 ? key : key + "." + std::to_string(step), std::move(content));
    }
    return files;
}

}  // namespace zstats::cli
