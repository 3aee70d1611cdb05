#include <cstdio>

#include "vdevice/lib/atoms/AtomJson.h"
#include "vdevice/lib/atoms/AtomText.h"
#include "vdevice/tools/statsctl/Stream.h"

namespace zstats::vdevice {
namespace {

void print(const StreamedAtom& atom, bool json) {
    if (json) {
        puts(jsonEvent(atom.id, atom.fields).c_str());
    } else {
        printf("%d  %s  %s\n", atom.id, atomInfo(atom.id).name.c_str(),
               eventText(atom.id, atom.fields).c_str());
    }
}

}  // namespace

int subscribeCommand(const Words& words) {
    int printed = 0;
    StreamUser user;
    user.message = [&](const std::vector<StreamedAtom>& atoms) {
        for (const StreamedAtom& atom : atoms) print(atom, words.json);
        printed += static_cast<int>(atoms.size());
        return !words.count || printed < *words.count;
    };
    return followStream(words, user);
}

}  // namespace zstats::vdevice
