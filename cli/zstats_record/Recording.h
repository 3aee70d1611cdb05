#pragma once

#include <string>

namespace zstats::cli {

/** The folder of a recording. Each failure ends the process with a message. */
class Recording {
  public:
    /** Creates the folder, which must not exist or must be empty. */
    explicit Recording(std::string folder);

    /** Writes a file and creates its parent folders. */
    void put(const std::string& name, const std::string& content) const;

    /** Creates a folder: an empty one is enough to start its service. */
    void makeFolder(const std::string& name) const;

  private:
    const std::string mFolder;
};

}  // namespace zstats::cli
