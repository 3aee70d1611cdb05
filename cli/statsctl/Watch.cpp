#include <cstdio>

#include "cli/statsctl/ChangeLines.h"
#include "cli/statsctl/Stream.h"

namespace zstats::cli {

int watchCommand(Statsd&, const CommandArguments& arguments) {
    CommandArguments subscription = arguments;
    if (subscription.ids.empty()) subscription.ids = allAtomIds();
    endFollowingOnSignal();
    ChangeLines changes;
    return followStream(subscription, [&](const std::vector<StreamedAtom>& atoms) {
        for (const std::string& line : changes.add(atoms)) puts(line.c_str());
        return ferror(stdout) == 0;
    });
}

}  // namespace zstats::cli
