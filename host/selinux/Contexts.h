#pragma once

#include <optional>
#include <string>
#include <vector>

namespace zstats::selinux {

/**
 * The labels of names in the format of service_contexts: a name and its label in each line, "*" for
 * all other names. Immutable; any thread.
 */
class Contexts {
  public:
    /** Reads the file; no value, with errno, when that fails. */
    static std::optional<Contexts> read(const std::string& path);

    /** The label of the name, or that of "*"; empty without either. */
    std::string ofService(const std::string& name) const;

  private:
    struct Line {
        std::string name;
        std::string label;
    };

    std::vector<Line> mLines;
    std::string mOthers;
};

/**
 * True when the domain `from` has `permission` of `objectClass` for objects labelled `to`. A denial
 * is logged with `subject`. An empty `to` is denied.
 */
bool isAllowed(const std::string& from, const std::string& to, const char* objectClass,
               const char* permission, const std::string& subject);

}  // namespace zstats::selinux
