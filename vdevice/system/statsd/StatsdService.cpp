#include "vdevice/system/statsd/StatsdService.h"

#include <cstdio>
#include <cstdlib>
#include <optional>

#include "vdevice/lib/UserIds.h"
#include "vdevice/lib/profile/ProfileFiles.h"
#include "vdevice/system/statsd/ElapsedTime.h"
#include "vdevice/system/statsd/StatsdLog.h"

namespace zstats::vdevice {
namespace {

constexpr uid_t kRootUid = 0;
constexpr uid_t kSystemUid = 1000;
constexpr char kRegisterPermission[] = "android.permission.REGISTER_STATS_PULL_ATOM";

ndk::ScopedAStatus securityUnlessSystem() {
    const uid_t uid = AIBinder_getCallingUid();
    if (uid == kRootUid || uid == kSystemUid) return ndk::ScopedAStatus::ok();
    return ndk::ScopedAStatus(AStatus_fromExceptionCode(EX_SECURITY));
}

/** A uid by number or by the name of a user of the platform. */
std::optional<int32_t> uidOf(const std::string& text) {
    const auto number = parseInt(text);
    if (number) return number;
    const auto named = userIdOfAid(text);
    if (!named) return std::nullopt;
    return static_cast<int32_t>(*named);
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
    Status status = refuseWithoutPermission(tag);
    if (!status.isOk()) return status;
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
    Status status = refuseWithoutPermission(tag);
    if (status.isOk()) mPullers->remove(static_cast<int32_t>(AIBinder_getCallingUid()), tag);
    return status;
}

ndk::ScopedAStatus StatsdService::refuseWithoutPermission(int32_t tag) const {
    if (mHasPermission(kRegisterPermission)) return Status::ok();
    STATSD_LOG(ERROR, "uid %u may not register atom %d: %s is not granted",
               AIBinder_getCallingUid(), tag, kRegisterPermission);
    return Status(AStatus_fromExceptionCode(EX_SECURITY));
}

binder_status_t StatsdService::handleShellCommand(int in, int out, int err, const char** argv,
                                                  uint32_t argc) {
    const std::vector<std::string> args(argv, argv + argc);
    const std::string command = args.empty() ? "" : args[0];
    if (command == "data-subscribe") {
        const int seconds = args.size() > 1 ? atoi(args[1].c_str()) : 0;
        mSubscriber->start(in, out, std::chrono::seconds(seconds));
    } else if (command == "pull-source") {
        return pullSource(out, err, args);
    } else if (command == "print-stats") {
        printStats(out);
    } else {
        dprintf(out,
                "statsd of the virtual device; it knows these commands:\n"
                "  data-subscribe [SECONDS]  stream atoms; the configuration comes on the input\n"
                "  pull-source TAG [USER]    pull one atom from the puller of a user (a uid or a\n"
                "                            name like AID_ROOT; AID_SYSTEM if none is named) and\n"
                "                            print its events\n"
                "  print-stats               print registrations and subscriptions\n");
    }
    return STATUS_OK;
}

binder_status_t StatsdService::pullSource(int out, int err, const std::vector<std::string>& args) {
    const auto tag = args.size() == 2 || args.size() == 3 ? parseInt(args[1]) : std::nullopt;
    const auto uid = args.size() == 3 ? uidOf(args[2]) : static_cast<int32_t>(kSystemUid);
    if (!tag || !uid) {
        dprintf(err,
                "pull-source wants an atom tag, and a uid or AID name if it is not system's\n");
        return STATUS_BAD_VALUE;
    }
    const PullResult result = mPullers->pull({*uid}, *tag, elapsedNanos());
    if (!result.success) {
        dprintf(out, "Pull from %d failed: %s\n", *tag, result.failure.c_str());
        return STATUS_UNKNOWN_ERROR;
    }
    for (const std::string& event : result.events) dprintf(out, "%s\n", eventText(event).c_str());
    dprintf(out, "Pull from %d: received %zu events%s\n", *tag, result.events.size(),
            result.fromCache ? " (from the cache)" : "");
    return STATUS_OK;
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
