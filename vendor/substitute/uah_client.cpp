#include "vendor/include/uah_client.h"

#include <cerrno>

#include "vendor/substitute/Profile.h"

int Uah_fetch_dataset(std::vector<UahRecord>* records) {
    int64_t id = 0;
    for (const std::string& line : zstats::substitute::readProfileLines("uah")) {
        if (line == "!fail") return -EIO;
        ++id;
        if (line == "!nontext") {
            records->push_back({id, int64_t{0}});
        } else {
            records->push_back({id, line});
        }
    }
    return static_cast<int>(records->size());  // any non-negative result is a success
}
