#include "vdevice/system/statsd/ControlServer.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <thread>
#include <utility>

#include "vdevice/lib/StatsdControl.h"
#include "vdevice/system/statsd/StatsdLog.h"

namespace zstats::vdevice {
namespace {

using android::base::unique_fd;

void report(const PullResult& result, control::Outcome* outcome) {
    outcome->set_answered(result.success);
    outcome->set_failure(result.failure);
    outcome->set_from_cache(result.fromCache);
    for (const std::string& bytes : result.events) outcome->add_events()->set_encoded(bytes);
    for (const std::string& bytes : result.rejected) outcome->add_rejected()->set_encoded(bytes);
}

void report(const RegisteredPuller& puller, control::Registration* registration) {
    registration->set_uid(puller.uid);
    registration->set_atom_tag(puller.tag);
    registration->set_cool_down_millis(puller.terms.coolDownMillis);
    registration->set_timeout_millis(puller.terms.timeoutMillis);
    for (int32_t field : puller.terms.additiveFields) registration->add_additive_fields(field);
    registration->set_alive(puller.alive);
}

}  // namespace

bool ControlServer::start() {
    unique_fd listener = listenForControl();
    if (!listener.ok()) {
        STATSD_LOG(ERROR, "control: %s", strerror(errno));
        return false;
    }
    // Detached: this object and the thread last as long as the process.
    std::thread([this, listener = std::move(listener)] { serve(listener); }).detach();
    return true;
}

void ControlServer::serve(int listener) {
    while (true) {
        unique_fd connection(TEMP_FAILURE_RETRY(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC)));
        if (!connection.ok()) {
            STATSD_LOG(ERROR, "control: accept: %s", strerror(errno));
            return;
        }
        std::thread([this, connection = std::move(connection)] { answer(connection); }).detach();
    }
}

void ControlServer::answer(int connection) {
    control::Request request;
    if (receiveControl(connection, &request)) sendControl(connection, replyTo(request));
}

control::Reply ControlServer::replyTo(const control::Request& request) {
    control::Reply reply;
    switch (request.what_case()) {
        case control::Request::kPull:
            report(mPullers->pullFromAnyone(request.pull()), reply.mutable_outcome());
            break;
        case control::Request::kPullNow:
            report(mPullers->pullNow(request.pull_now()), reply.mutable_outcome());
            break;
        case control::Request::kParallelPulls:
            mPullers->setParallel(request.parallel_pulls());
            break;
        case control::Request::kRegistrations:
            for (const auto& puller : mPullers->list()) report(puller, reply.add_registrations());
            break;
        case control::Request::kPushed:
            for (const PushedEvent& event : mPushed->recent()) {
                reply.add_pushed()->set_encoded(event.bytes);
            }
            break;
        case control::Request::WHAT_NOT_SET:
            break;
    }
    return reply;
}

}  // namespace zstats::vdevice
