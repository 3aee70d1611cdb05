// Parsers of the virtual device: profiles, scenarios, subscriptions, streams, events.

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "acquire/PushedAtomSubscription.h"
#include "cli/lib/atoms/ShellStream.h"
#include "tests/fuzz/FuzzTarget.h"
#include "tests/support/TempTree.h"
#include "vdevice/lib/profile/ProfileCheck.h"
#include "vdevice/lib/profile/ProfileFiles.h"
#include "vdevice/lib/profile/Scenario.h"
#include "vdevice/system/statsd/ShellSubscriber.h"

using namespace zstats;
using namespace zstats::fuzz;
using namespace zstats::cli;
using namespace zstats::vdevice;

FUZZ_TARGET(profiles) {
    static const TempTree tree;
    constexpr const char* kFiles[] = {"absent",  "audio", "build.prop", "calda",
                                      "charger", "uah",   "features",   "nodes/k.1",
                                      "thermal", "touch", "scenario"};
    const auto parts = partsOf(input, 3);
    for (const char* file : kFiles) tree.write(file, "");
    tree.write("nodes/k", parts[1]);
    tree.write(kFiles[parts[0].size() % std::size(kFiles)], parts[2]);
    const std::string reason = checkProfile(tree.path(""), {{"touch"}, {"getUIsohValue"}});
    require(reason.empty() || reason.find(": ") != std::string::npos);
    require(keyValueLines(parts[2]).size() + profileLines(parts[2]).size() <= 2 * input.size());
    require(NodeSequence(tree.path("nodes")).next(1, "k") == parts[1]);
}

FUZZ_TARGET(scenarios) {
    const auto parsed = Scenario::parse(input);
    const auto* scenario = std::get_if<Scenario>(&parsed);
    if (scenario == nullptr) return;
    for (const int64_t second : {int64_t{0}, int64_t{1}, scenario->end() / 2, scenario->end()}) {
        require(scenario->at(second).size() <= input.size());
    }
}

FUZZ_TARGET(shell_subscriptions) {
    // As statsd receives it: a frame, and bytes after it.
    static PullerManager pullers;
    const android::base::unique_fd in(memfd_create("in", MFD_CLOEXEC));
    const android::base::unique_fd out(open("/dev/null", O_WRONLY | O_CLOEXEC));
    require(write(in.get(), input.data(), input.size()) == static_cast<ssize_t>(input.size()));
    lseek(in.get(), 0, SEEK_SET);
    ShellSubscriber(&pullers).start(in.get(), out.get(), std::chrono::seconds(0));
    // As the daemon builds it.
    std::vector<int32_t> ids(input.size() / sizeof(int32_t) + 1);
    input.copy(reinterpret_cast<char*>(ids.data()), input.size());
    const auto request = parseSubscription(serializeSubscription(ids));
    require(request.has_value());
    for (const int32_t id : request->pushed) require(deliveryOf(id) == AtomDelivery::kPushed);
    for (const auto& pull : request->pulls) require(deliveryOf(pull.tag) == AtomDelivery::kPulled);
}

FUZZ_TARGET(shell_streams) {
    ShellFrameCutter cutter;
    cutter.append(input.data(), input.size());
    while (const auto message = cutter.next()) parseShellData(*message);
    if (const auto atoms = parseShellData(input)) shellFrame(*atoms, true);
}

FUZZ_TARGET(event_reader) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(input.data());
    const auto event = readEvent(bytes, input.size());
    require(isValidEvent(bytes, input.size()) == (event && event->valid()));
    if (!event) return;
    require(event->trailingBytes <= input.size() && event->fields.size() <= input.size());
    require(event->built == (bytes[1] != 0));
    require(!event->valid() || event->fields.size() + 2 == bytes[1]);
}
