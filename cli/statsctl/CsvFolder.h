#pragma once

#include <cstdio>
#include <map>
#include <memory>
#include <string>

#include "cli/lib/atoms/RecordedEvent.h"

namespace zstats::cli {

/** A folder with a file of comma-separated values for each atom. Not thread-safe. */
class CsvFolder {
  public:
    /** `command` begins each message on standard error. */
    CsvFolder(std::string command, std::string folder)
          : mCommand(std::move(command)), mFolder(std::move(folder)) {}

    /** Makes the folder where there is none; false, with a message, if that fails. */
    bool open() const;

    /**
     * Adds the event to ID_NAME.csv, which is made at the atom's first event. False, with a
     * message, if it cannot be made or written; a file that is already there stays as it is.
     */
    bool add(const RecordedEvent& event);

  private:
    using File = std::unique_ptr<FILE, int (*)(FILE*)>;

    bool failed(const std::string& path) const;

    const std::string mCommand;
    const std::string mFolder;
    std::map<int32_t, File> mFiles;
};

}  // namespace zstats::cli
