/**
 * Pulls each atom for callgrind, which ends a profile at the end of each pull: from services that
 * answer as those of a phone's profile, one round to connect and one to count. The first pull of a
 * round is of a tag without a handler.
 *
 *   pull_once PROFILE       prints the tags of all rounds, one a line
 */
#include <dirent.h>
#include <sys/system_properties.h>

#include <cstdio>
#include <sstream>

#include "daemon/AtomTable.h"
#include "daemon/PullDispatch.h"
#include "host/stats/EventList.h"
#include "tests/support/FakePlatformServices.h"
#include "tests/support/FakeVendorServices.h"
#include "tests/support/LogCapture.h"
#include "vdevice/lib/profile/CaldaReplies.h"
#include "vdevice/lib/profile/ProfileFiles.h"
#include "vendor/substitute/Substitute.h"

using namespace zstats;

namespace {

constexpr int32_t kNoAtom = 1;

/** A phone's services, with what its profile has them answer. */
struct Services {
    explicit Services(const std::string& profile) {
        const auto text = [&](const char* name) {
            return vdevice::readProfileFile(profile + "/" + name).value_or("");
        };
        for (const auto& [method, value] : vdevice::keyValueLines(text("charger"))) {
            charger.set(method, vdevice::parseInt(value));
        }
        for (const uint32_t code : {FakeCalda::kStatus, FakeCalda::kShell, FakeCalda::kAmbient}) {
            const auto reply = vdevice::caldaReply(text("calda"), code);
            calda.set(code, reply ? reply->words : std::vector<int32_t>());
        }
        std::istringstream degrees(text("thermal"));
        std::vector<float> temperatures;
        for (float value = 0; degrees >> value;) temperatures.push_back(value);
        thermal.set(temperatures);
        touch.setText(text("touch"));
        audio.set(text("audio"));
        DIR* folder = opendir((profile + "/nodes").c_str());
        for (const dirent* entry = nullptr; folder && (entry = readdir(folder)) != nullptr;) {
            if (entry->d_name[0] == '.') continue;
            factory.set(entry->d_name, text((std::string("nodes/") + entry->d_name).c_str()));
        }
        if (folder != nullptr) closedir(folder);
    }

    FakeCharger charger;
    FakeHandleFactory factory;
    FakeTouch touch;
    FakeCalda calda;
    FakeThermalService thermal;
    FakeAudio audio;
};

void pullOnce(int32_t tag, ZStatsPullAtomCallback& callback) {
    AStatsEventList list;
    onPullAtom(tag, &list, &callback);
    printf("%d %zu\n", tag, list.events.size());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    LogCapture log;
    substitute::useProfile(argv[1]);
    __system_property_set("ro.hardware", "qcom");
    const Services services(argv[1]);
    static ZStatsPullAtomCallback callback;
    for (int round = 0; round < 2; ++round) {
        pullOnce(kNoAtom, callback);
        for (const AtomEntry& entry : kAtomTable) pullOnce(entry.tag, callback);
        log.clear();
    }
    return 0;
}
