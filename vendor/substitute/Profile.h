#pragma once

#include <optional>
#include <string>
#include <vector>

namespace zstats::substitute {

/** The profile folder in use. Any thread. */
std::string profileFolder();

/** The lines of a file of the profile, without trailing blanks; none when it does not exist. */
std::vector<std::string> readProfileLines(const std::string& name);

/** N of the line `KEY=N` of the file "features"; no value without such a line or number. */
std::optional<int> readFeatureNumber(const std::string& key);

/** True when the file "features" holds exactly this line. */
bool hasFeatureLine(const std::string& line);

}  // namespace zstats::substitute
