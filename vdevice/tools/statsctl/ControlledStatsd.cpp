#include "vdevice/tools/statsctl/ControlledStatsd.h"

#include <android-base/stringprintf.h>

#include <chrono>
#include <string_view>
#include <thread>
#include <utility>

#include "host/stats/EventReader.h"
#include "vdevice/lib/StatsdControl.h"

namespace zstats::vdevice {
namespace {

using android::base::StringPrintf;
using cli::kNoStatsd;
using cli::PulledAtom;
using cli::PulledEvent;

constexpr std::chrono::milliseconds kStep(50);
constexpr int kMaxSteps = 60;

std::optional<ReadEvent> read(const control::Event& event) {
    const std::string& bytes = event.encoded();
    return readEvent(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

/** An event as far as it could be decoded. */
PulledEvent decoded(std::optional<ReadEvent> event) {
    if (!event) return {};
    return {event->valid(), std::move(event->fields)};
}

/** Sends statsd the request of which this field is set; no value without a statsd. */
template <typename Value>
std::optional<control::Reply> ask(void (control::Request::*set)(Value), Value value) {
    control::Request request;
    (request.*set)(value);
    return askStatsd(request);
}

PulledAtom pulled(int32_t tag, const std::optional<control::Reply>& reply) {
    PulledAtom atom;
    atom.tag = tag;
    if (!reply) {
        atom.failure = kNoStatsd;
        return atom;
    }
    const control::Outcome& outcome = reply->outcome();
    if (!outcome.answered()) {
        atom.failure = outcome.failure();
        return atom;
    }
    for (const auto& event : outcome.events()) atom.events.push_back(decoded(read(event)));
    for (const auto& event : outcome.rejected()) atom.events.push_back(decoded(read(event)));
    return atom;
}

/** Registrations in the order of arrival; no value if statsd does not answer. */
std::optional<control::Reply> askForRegistrations() {
    return ask(&control::Request::set_registrations, true);
}

std::string rowOf(int number, const control::Registration& entry) {
    std::string additive;
    for (int32_t field : entry.additive_fields()) additive += std::to_string(field) + " ";
    return StringPrintf("%-4d %-8d %-31s %-6d %-10s %-9s %s%s", number, entry.atom_tag(),
                        cli::atomInfo(entry.atom_tag()).name.c_str(), entry.uid(),
                        (std::to_string(entry.cool_down_millis()) + " ms").c_str(),
                        (std::to_string(entry.timeout_millis()) + " ms").c_str(),
                        additive.empty() ? "none" : additive.c_str(),
                        entry.alive() ? "" : "  (its process has died)");
}

}  // namespace

std::string ControlledStatsd::unavailable() {
    return statsdListens() ? "" : "statsd is not running";
}

PulledAtom ControlledStatsd::pull(int32_t tag, bool* fromCache) {
    const auto reply = ask(&control::Request::set_pull, tag);
    if (fromCache != nullptr) *fromCache = reply && reply->outcome().from_cache();
    return pulled(tag, reply);
}

PulledAtom ControlledStatsd::pull(int32_t tag) {
    return pull(tag, nullptr);
}

PulledAtom ControlledStatsd::pullNow(int32_t tag) {
    return pulled(tag, ask(&control::Request::set_pull_now, tag));
}

std::map<int32_t, PulledAtom> ControlledStatsd::pullFresh(const std::vector<int32_t>& tags) {
    std::map<int32_t, PulledAtom> atoms;
    for (const int32_t tag : tags) {
        bool fromCache = false;
        atoms[tag] = pull(tag, &fromCache);
        for (int step = 0; fromCache && step < kMaxSteps; ++step) {
            std::this_thread::sleep_for(kStep);
            atoms[tag] = pull(tag, &fromCache);
        }
    }
    return atoms;
}

void ControlledStatsd::setParallel(bool parallel) {
    ask(&control::Request::set_parallel_pulls, parallel);
}

std::optional<std::set<int32_t>> ControlledStatsd::registered() {
    const auto reply = askForRegistrations();
    if (!reply) return std::nullopt;
    std::set<int32_t> tags;
    for (const control::Registration& entry : reply->registrations()) {
        if (entry.alive()) tags.insert(entry.atom_tag());
    }
    return tags;
}

std::string ControlledStatsd::registrationText(int32_t tag) {
    const control::Reply reply = askForRegistrations().value_or(control::Reply());
    for (const control::Registration& entry : reply.registrations()) {
        if (entry.atom_tag() != tag) continue;
        return "yes, by uid " + std::to_string(entry.uid()) + ", cool-down " +
               std::to_string(entry.cool_down_millis()) + " ms, time-out " +
               std::to_string(entry.timeout_millis()) + " ms" +
               (entry.alive() ? "" : "; BUT ITS PROCESS HAS DIED");
    }
    return "NO";
}

std::vector<std::string> ControlledStatsd::registrationTable() {
    const auto reply = askForRegistrations();
    if (!reply) return {};
    std::vector<std::string> lines{StringPrintf("%-4s %-8s %-31s %-6s %-10s %-9s %s", "#", "tag",
                                                "atom", "uid", "cool-down", "time-out",
                                                "additive fields")};
    int number = 0;
    for (const control::Registration& entry : reply->registrations()) {
        lines.push_back(rowOf(++number, entry));
    }
    return lines;
}

std::optional<std::vector<PulledAtom>> ControlledStatsd::pushed() {
    const auto reply = ask(&control::Request::set_pushed, true);
    if (!reply) return std::nullopt;
    std::vector<PulledAtom> atoms;
    for (const control::Event& entry : reply->pushed()) {
        auto event = read(entry);
        const int32_t tag = event ? event->atomId : 0;
        atoms.push_back({tag, "", {decoded(std::move(event))}});
    }
    return atoms;
}

}  // namespace zstats::vdevice
