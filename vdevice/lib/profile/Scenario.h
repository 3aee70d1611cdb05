#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <variant>
#include <vector>

namespace zstats::vdevice {

/**
 * Changes of a device over time: the text of a profile's file "scenario". Lines of steps:
 *
 *     at 0 s
 *         node battery_level 80 to 71 until 110 s
 *         charger getPsyBatteryTemp 305
 *
 * A line sets the target that its first word and the following key name. With "to" and "until", the
 * numbers of the text change linearly to those of the second text, a step each second. A later line
 * for the same key replaces the earlier. Seconds count from the scenario's beginning.
 */
class Scenario {
  public:
    /** A place of the profile that a scenario sets: a file, or one line of a file by its key. */
    struct Target {
        std::string file;  // relative to the profile
        std::string key;   // of a `key=value` line; empty for the whole file
        bool operator<(const Target& other) const {
            return std::tie(file, key) < std::tie(other.file, other.key);
        }
    };

    /** The scenario, or an error text: "line N: reason". */
    static std::variant<Scenario, std::string> parse(std::string_view text);

    /** The values at this second; targets that no step has set yet are missing. */
    std::map<Target, std::string> at(int64_t second) const;

    /** The last second at which a value changes. */
    int64_t end() const;

  private:
    struct Setting {
        Target target;
        int64_t start = 0;
        int64_t until = 0;  // equal to `start` without "to"
        std::string from;
        std::string to;
    };

    static std::string textAt(const Setting& setting, int64_t second);
    static std::string parseLine(std::string line, int64_t start, Setting* setting);

    std::vector<Setting> mSettings;  // in the order of the text
};

}  // namespace zstats::vdevice
