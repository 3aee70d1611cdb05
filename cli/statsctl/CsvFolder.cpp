#include "cli/statsctl/CsvFolder.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "cli/lib/atoms/AtomCsv.h"

namespace zstats::cli {

bool CsvFolder::failed(const std::string& path) const {
    fprintf(stderr, "%s: %s: %s\n", mCommand.c_str(), path.c_str(), strerror(errno));
    return false;
}

bool CsvFolder::open() const {
    return mkdir(mFolder.c_str(), 0755) == 0 || errno == EEXIST || failed(mFolder);
}

bool CsvFolder::add(const RecordedEvent& event) {
    const std::string path =
            mFolder + "/" + std::to_string(event.id) + "_" + atomInfo(event.id).name + ".csv";
    auto found = mFiles.find(event.id);
    if (found == mFiles.end()) {
        File file(fopen(path.c_str(), "wxe"), fclose);
        if (file == nullptr) return failed(path);
        // As the lines come: a recording may be interrupted.
        setvbuf(file.get(), nullptr, _IOLBF, 0);
        fprintf(file.get(), "%s\n", csvHeading(event.id).c_str());
        found = mFiles.emplace(event.id, std::move(file)).first;
    }
    return fprintf(found->second.get(), "%s\n", csvRow(event).c_str()) >= 0 || failed(path);
}

}  // namespace zstats::cli
