#include "vdevice/system/statsd/ControlService.h"

namespace zstats::vdevice {
namespace {

using aidl::zstats::vdevice::EncodedEvent;
using aidl::zstats::vdevice::PullOutcome;
using aidl::zstats::vdevice::PullRegistration;

EncodedEvent encoded(int32_t uid, const std::string& bytes) {
    EncodedEvent event;
    event.uid = uid;
    event.bytes.assign(bytes.begin(), bytes.end());
    return event;
}

ndk::ScopedAStatus report(const PullResult& result, PullOutcome* outcome) {
    outcome->answered = result.success;
    outcome->failure = result.failure;
    outcome->fromCache = result.fromCache;
    // Pulled events come without their sender's uid.
    for (const std::string& bytes : result.events) outcome->events.push_back(encoded(-1, bytes));
    return ndk::ScopedAStatus::ok();
}

}  // namespace

ndk::ScopedAStatus ControlService::pull(int32_t tag, PullOutcome* outcome) {
    return report(mPullers->pullFromAnyone(tag), outcome);
}

ndk::ScopedAStatus ControlService::pullNow(int32_t tag, PullOutcome* outcome) {
    return report(mPullers->pullNow(tag), outcome);
}

ndk::ScopedAStatus ControlService::setParallelPulls(bool parallel) {
    mPullers->setParallel(parallel);
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus ControlService::registrations(std::vector<PullRegistration>* list) {
    for (const RegisteredPuller& puller : mPullers->list()) {
        PullRegistration registration;
        registration.uid = puller.uid;
        registration.atomTag = puller.tag;
        registration.coolDownMillis = puller.terms.coolDownMillis;
        registration.timeoutMillis = puller.terms.timeoutMillis;
        registration.additiveFields = puller.terms.additiveFields;
        registration.alive = puller.alive;
        list->push_back(std::move(registration));
    }
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus ControlService::pushed(std::vector<EncodedEvent>* events) {
    for (const PushedEvent& event : mPushed->recent()) {
        events->push_back(encoded(event.uid, event.bytes));
    }
    return ndk::ScopedAStatus::ok();
}

}  // namespace zstats::vdevice
