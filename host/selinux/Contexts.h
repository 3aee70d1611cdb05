#pragma once

#include <optional>
#include <string>
#include <vector>

namespace zstats::selinux {

/**
 * The labels of names, as service_contexts has them: a name and its label on a line, "*" for all
 * other names. Immutable, any thread.
 */
class Contexts {
  public:
    /** Reads the file; nothing, with errno, when that fails. */
    static std::optional<Contexts> read(const std::string& path);

    /** The label of exactly this name; empty when there is none, not even for all others. */
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
 * Whether the domain `from` may do `permission` of `objectClass` to what is labelled `to`. A refusal
 * is logged, with `subject` (what it was about) in the line. A `to` that is empty is refused.
 */
bool isAllowed(const std::string& from, const std::string& to, const char* objectClass,
               const char* permission, const std::string& subject);

}  // namespace zstats::selinux
