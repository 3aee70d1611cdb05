#include "cli/zstats_record/Recording.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace zstats::cli {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void die(const std::string& path, const std::string& reason) {
    fprintf(stderr, "zstats_record: %s: %s\n", path.c_str(), reason.c_str());
    exit(EXIT_FAILURE);
}

void makeOrDie(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) die(folder, error.message());
}

}  // namespace

Recording::Recording(std::string folder) : mFolder(std::move(folder)) {
    makeOrDie(mFolder);
    std::error_code error;
    const bool empty = fs::is_empty(mFolder, error);
    if (error) die(mFolder, error.message());
    if (!empty) die(mFolder, "is not empty");
}

void Recording::put(const std::string& name, const std::string& content) const {
    const fs::path path = fs::path(mFolder) / name;
    makeOrDie(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file << content;
    file.close();
    if (!file) die(path, strerror(errno));
}

void Recording::makeFolder(const std::string& name) const {
    makeOrDie(fs::path(mFolder) / name);
}

}  // namespace zstats::cli
