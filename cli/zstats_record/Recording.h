#pragma once

#include <string>

namespace zstats::cli {

/** The folder that a recording goes to. Each failure ends the process with a message. */
class Recording {
  public:
    /** Makes the folder; it must not exist, or be empty. */
    explicit Recording(std::string folder);

    /** Writes a file, with the folders above it. */
    void put(const std::string& name, const std::string& content) const;

    /** Makes a folder: the service behind it is started also when the folder is empty. */
    void makeFolder(const std::string& name) const;

  private:
    const std::string mFolder;
};

}  // namespace zstats::cli
