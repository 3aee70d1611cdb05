#include "vdevice/tools/statsctl/ControlledStatsd.h"

#include <chrono>
#include <cstdio>
#include <string_view>
#include <thread>
#include <utility>

#include "host/stats/EventReader.h"
#include "vdevice/lib/StatsdControl.h"

namespace zstats::vdevice {
namespace {

using cli::kNoStatsd;
using cli::PulledAtom;
using cli::PulledEvent;

constexpr std::chrono::milliseconds kStep(50);
constexpr int kMaxSteps = 60;

/** Decodes an encoded event, as far as possible. */
PulledEvent decodeEvent(std::string_view bytes) {
    auto event = readEvent(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    if (!event) return {};
    return {event->valid(), std::move(event->fields)};
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
    for (const auto& event : outcome.events()) atom.events.push_back(decodeEvent(event.encoded()));
    for (const auto& event : outcome.rejected()) {
        atom.events.push_back(decodeEvent(event.encoded()));
    }
    return atom;
}

/** Registrations in the order of arrival; no value if statsd does not answer. */
std::optional<control::Reply> askForRegistrations() {
    control::Request request;
    request.set_registrations(true);
    return askStatsd(request);
}

std::string rowOf(int number, const control::Registration& entry) {
    std::string additive;
    for (int32_t field : entry.additive_fields()) additive += std::to_string(field) + " ";
    char row[256];
    snprintf(row, sizeof(row), "%-4d %-8d %-31s %-6d %-10s %-9s %s%s", number, entry.atom_tag(),
             cli::atomInfo(entry.atom_tag()).name.c_str(), entry.uid(),
             (std::to_string(entry.cool_down_millis()) + " ms").c_str(),
             (std::to_string(entry.timeout_millis()) + " ms").c_str(),
             additive.empty() ? "none" : additive.c_str(),
             entry.alive() ? "" : "  (its process has died)");
    return row;
}

}  // namespace

std::string ControlledStatsd::unavailable() {
    return statsdListens() ? "" : "statsd is not running";
}

PulledAtom ControlledStatsd::pull(int32_t tag, bool* fromCache) {
    control::Request request;
    request.set_pull(tag);
    const auto reply = askStatsd(request);
    if (fromCache != nullptr) *fromCache = reply && reply->outcome().from_cache();
    return pulled(tag, reply);
}

PulledAtom ControlledStatsd::pull(int32_t tag) {
    return pull(tag, nullptr);
}

PulledAtom ControlledStatsd::pullNow(int32_t tag) {
    control::Request request;
    request.set_pull_now(tag);
    return pulled(tag, askStatsd(request));
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
    control::Request request;
    request.set_parallel_pulls(parallel);
    askStatsd(request);
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
    char heading[128];
    snprintf(heading, sizeof(heading), "%-4s %-8s %-31s %-6s %-10s %-9s %s", "#", "tag", "atom",
             "uid", "cool-down", "time-out", "additive fields");
    std::vector<std::string> lines{heading};
    int number = 0;
    for (const control::Registration& entry : reply->registrations()) {
        lines.push_back(rowOf(++number, entry));
    }
    return lines;
}

std::optional<std::vector<PulledAtom>> ControlledStatsd::pushed() {
    control::Request request;
    request.set_pushed(true);
    const auto reply = askStatsd(request);
    if (!reply) return std::nullopt;
    std::vector<PulledAtom> atoms;
    for (const control::Event& entry : reply->pushed()) {
        const std::string& encoded = entry.encoded();
        const auto event =
                readEvent(reinterpret_cast<const uint8_t*>(encoded.data()), encoded.size());
        atoms.push_back({event ? event->atomId : 0, "", {decodeEvent(encoded)}});
    }
    return atoms;
}

}  // namespace zstats::vdevice
