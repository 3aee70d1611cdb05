#include "vdevice/statsd/StatsdService.h"

#include <cstdio>
#include <cstdlib>

#include "vdevice/common/ProfileFiles.h"
#include "vdevice/statsd/StatsdLog.h"

namespace zstats::vdevice {
namespace {

constexpr uid_t kRootUid = 0;
constexpr uid_t kSystemUid = 1000;

ndk::ScopedAStatus securityUnlessSystem() {
    const uid_t uid = AIBinder_getCallingUid();
    if (uid == kRootUid || uid == kSystemUid) return ndk::ScopedAStatus::ok();
    return ndk::ScopedAStatus(AStatus_fromExceptionCode(EX_SECURITY));
}

std::string eventText(const std::string& bytes) {
    const auto event = readEvent(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    if (!event) return "(not an event)";
    std::string text = "{ " + std::to_string(event->atomId) + " :";
    for (const AtomValue& field : event->fields) text += " " + valueText(field);
    return text + (event->valid() ? " }" : " (rejected) }");
}

}  // namespace

ndk::ScopedAStatus StatsdService::registerPullAtomCallback(
        int32_t uid, int32_t tag, int64_t coolDownMillis, int64_t timeoutMillis,
        const std::vector<int32_t>& additive, const std::shared_ptr<IPullAtomCallback>& callback) {
    Status status = securityUnlessSystem();
    if (!status.isOk()) return status;
    if (callback == nullptr) return Status(AStatus_fromExceptionCode(EX_NULL_POINTER));
    mPullers->add(uid, tag, {coolDownMillis, timeoutMillis, additive}, callback);
    return status;
}

ndk::ScopedAStatus StatsdService::registerNativePullAtomCallback(
        int32_t tag, int64_t coolDownMillis, int64_t timeoutMillis,
        const std::vector<int32_t>& additive, const std::shared_ptr<IPullAtomCallback>& callback) {
    if (callback == nullptr) return Status(AStatus_fromExceptionCode(EX_NULL_POINTER));
    mPullers->add(static_cast<int32_t>(AIBinder_getCallingUid()), tag,
                  {coolDownMillis, timeoutMillis, additive}, callback);
    return Status::ok();
}

ndk::ScopedAStatus StatsdService::unregisterPullAtomCallback(int32_t uid, int32_t tag) {
    Status status = securityUnlessSystem();
    if (status.isOk()) mPullers->remove(uid, tag);
    return status;
}

ndk::ScopedAStatus StatsdService::unregisterNativePullAtomCallback(int32_t tag) {
    mPullers->remove(static_cast<int32_t>(AIBinder_getCallingUid()), tag);
    return Status::ok();
}

binder_status_t StatsdService::handleShellCommand(int in, int out, int err, const char** argv,
                                                  uint32_t argc) {
    const std::vector<std::string> args(argv, argv + argc);
    const std::string command = args.empty() ? "" : args[0];
    if (command == "data-subscribe") {
        const int seconds = args.size() > 1 ? atoi(args[1].c_str()) : 0;
        mSubscriber->start(in, out, std::chrono::seconds(seconds));
    } else if (command == "pull-source") {
        pullSource(out, err, args);
    } else if (command == "print-stats") {
        printStats(out);
    } else {
        dprintf(out,
                "statsd of the virtual device; it knows these commands:\n"
                "  data-subscribe [SECONDS]  stream atoms; the configuration comes on the input\n"
                "  pull-source TAG           pull one atom and print its events\n"
                "  print-stats               print registrations and subscriptions\n");
    }
    return STATUS_OK;
}

void StatsdService::pullSource(int out, int err, const std::vector<std::string>& args) {
    const auto tag = args.size() == 2 ? parseInt(args[1]) : std::nullopt;
    if (!tag) {
        dprintf(err, "pull-source wants one atom tag\n");
        return;
    }
    const PullResult result = mPullers->pullFromAnyone(*tag);
    for (const std::string& event : result.events) dprintf(out, "%s\n", eventText(event).c_str());
    if (result.success) {
        dprintf(out, "Pull from %d: received %zu events%s\n", *tag, result.events.size(),
                result.fromCache ? " (from the cache)" : "");
    } else {
        dprintf(out, "Pull from %d failed: %s\n", *tag, result.failure.c_str());
    }
}

void StatsdService::printStats(int out) {
    const auto pullers = mPullers->list();
    dprintf(out, "%zu pullers, %zu subscriptions\n", pullers.size(), mSubscriber->running());
    for (const RegisteredPuller& puller : pullers) {
        dprintf(out, "  atom %d uid %d cool-down %lld ms time-out %lld ms%s\n", puller.tag,
                puller.uid, static_cast<long long>(puller.terms.coolDownMillis),
                static_cast<long long>(puller.terms.timeoutMillis),
                puller.alive ? "" : " (process has died)");
    }
}

}  // namespace zstats::vdevice
