#include "vdevice/system/statsd/StatsdService.h"

#include <android-base/stringprintf.h>
#include <private/android_filesystem_config.h>
#include <utils/SystemClock.h>

#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <variant>

#include "vdevice/lib/UserIds.h"
#include "vdevice/system/statsd/StatsdLog.h"

namespace zstats::vdevice {
namespace {

using android::base::StringPrintf;

constexpr int32_t kNoUid = -1;
// Position of a field in its encoded number.
constexpr int kFieldShift = 16;
constexpr char kRegisterPermission[] = "android.permission.REGISTER_STATS_PULL_ATOM";

/** The uids of an AID name. A package name has none, because the device has no packages. */
std::vector<int32_t> uidsOf(const std::string& name) {
    const auto uid = userIdOfAid(name);
    if (!uid) return {};
    return {static_cast<int32_t>(*uid)};
}

int64_t wallNanos() {
    return std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch()).count();
}

/** A field's value and the letter of its type in brackets; a bool is a number. */
std::string valueWithType(const cli::AtomValue& value) {
    struct Writer {
        std::string operator()(int32_t number) const { return std::to_string(number) + "[I]"; }
        std::string operator()(int64_t number) const { return std::to_string(number) + "[L]"; }
        std::string operator()(bool truth) const { return truth ? "1[I]" : "0[I]"; }
        std::string operator()(float number) const { return std::to_string(number) + "[F]"; }
        std::string operator()(const std::string& text) const { return text + "[S]"; }
    };
    return std::visit(Writer(), value);
}

/** An event as statsd prints it: its writer, wall time, time since boot, and fields by position. */
std::string eventText(const cli::StreamedAtom& atom) {
    std::string text = StringPrintf("{ uid(%d) %" PRId64 " %" PRId64 " (%d)", atom.uid, wallNanos(),
                                    atom.timestampNs, atom.id);
    for (size_t i = 0; i < atom.fields.size(); ++i) {
        text += StringPrintf("%#zx->", (i + 1) << kFieldShift) + valueWithType(atom.fields[i]) + " ";
    }
    return text + " }";
}

/** What statsd counts of an atom, as it prints it; what this one does not measure is 0. */
std::string countsText(int32_t tag, const PullCounts& counts) {
    return StringPrintf(
            "Atom %d->(total pull)%" PRId64 ", (pull from cache)%" PRId64 ", (pull failed)%" PRId64
            ", (min pull interval)0 \n"
            "  (average pull time nanos)0, (max pull time nanos)0, "
            "(average pull delay nanos)0,   (max pull delay nanos)0, "
            "(data error)%" PRId64
            "\n"
            "  (pull timeout)%" PRId64
            ", (pull exceed max delay)0"
            "  (no uid provider count)0, (no puller found count)%" PRId64
            "\n"
            "  (registered count) %" PRId64 ", (unregistered count) %" PRId64
            "  (atom error count) 0, (subscription pull count) 0, "
            "(binder call failed) %" PRId64 "\n",
            tag, counts.pulls, counts.fromCache, counts.failed, counts.empty, counts.timedOut,
            counts.noPuller, counts.registered, counts.unregistered, counts.callFailed);
}

}  // namespace

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

binder_status_t StatsdService::handleShellCommand(int in, int out, int /*err*/, const char** argv,
                                                  uint32_t argc) {
    const std::vector<std::string> args(argv, argv + argc);
    const std::string command = args.empty() ? "" : args[0];
    if (command == "data-subscribe") {
        const int seconds = args.size() > 1 ? atoi(args[1].c_str()) : 0;
        mSubscriber->start(in, out, std::chrono::seconds(seconds));
    } else if (command == "pull-source" && args.size() > 1) {
        return pullSource(out, args);
    } else if (command == "print-stats") {
        printStats(out);
    } else {
        dprintf(out,
                "statsd of the virtual device; it knows these commands:\n"
                "  data-subscribe [SECONDS]  stream atoms; the configuration comes on the input\n"
                "  pull-source TAG [NAME]    pull one atom from the puller of a user (a name like\n"
                "                            AID_ROOT; AID_SYSTEM if none is named) and print its\n"
                "                            events\n"
                "  print-stats               print registrations and subscriptions\n");
    }
    return STATUS_OK;
}

binder_status_t StatsdService::pullSource(int out, const std::vector<std::string>& args) {
    const int tag = atoi(args[1].c_str());
    const auto uids = args.size() > 2 ? uidsOf(args[2]) : std::vector<int32_t>{AID_SYSTEM};
    const PullResult result = mPullers->pull(uids, tag, android::elapsedRealtimeNano());
    // No output, as on a phone; the log has the reason.
    if (!result.success) return STATUS_UNKNOWN_ERROR;
    for (const std::string& event : result.events) {
        const auto atom = streamedAtom(kNoUid, event);
        if (atom) dprintf(out, "Pull from %d: %s\n", tag, eventText(*atom).c_str());
    }
    dprintf(out, "Pull from %d: Received %zu elements\n", tag, result.events.size());
    return STATUS_OK;
}

void StatsdService::printStats(int out) {
    const auto pullers = mPullers->list();
    dprintf(out, "%zu pullers, %zu subscriptions\n", pullers.size(), mSubscriber->running());
    dprintf(out, "********Pulled Atom stats***********\n");
    for (const auto& [tag, counts] : mPullers->counts()) {
        const std::string text = countsText(tag, counts);
        dprintf(out, "%s", text.c_str());
    }
}

}  // namespace zstats::vdevice
