#include "vdevice/tools/statsctl/TraceWriter.h"

#include <ctime>

#include "proto/perfetto_trace.pb.h"

namespace zstats::vdevice {
namespace {

using perfetto::DebugAnnotation;
using perfetto::Trace;
using perfetto::TracePacket;
using perfetto::TrackEvent;

constexpr int64_t kNsInSecond = 1'000'000'000;
constexpr int64_t kRepeatNs = 10 * kNsInSecond;
// All packets are of one writer; the number is any but 0.
constexpr uint32_t kSequence = 1;
constexpr uint32_t kSequenceBegins = 1;
constexpr char kRootName[] = "zstats_pullerd";
constexpr uint64_t kRootUuid = 1;

enum ClockId : uint32_t { kRealtime = 1, kMonotonic = 3, kBoottime = 6 };

int64_t now(clockid_t clock) {
    timespec time = {};
    clock_gettime(clock, &time);
    return time.tv_sec * kNsInSecond + time.tv_nsec;
}

void addClock(perfetto::ClockSnapshot* snapshot, ClockId id, int64_t ns) {
    auto* clock = snapshot->add_clocks();
    clock->set_clock_id(id);
    clock->set_timestamp(static_cast<uint64_t>(ns));
}

TracePacket newPacket(int64_t timestampNs) {
    TracePacket packet;
    packet.set_timestamp(static_cast<uint64_t>(timestampNs));
    packet.set_trusted_packet_sequence_id(kSequence);
    return packet;
}

/** The packet as an element of the trace, whole in itself. */
void append(const TracePacket& packet, std::string* out) {
    Trace trace;
    *trace.add_packet() = packet;
    trace.AppendToString(out);
}

/** A track that holds others. */
TracePacket groupPacket(uint64_t uuid, uint64_t parent, const std::string& name) {
    TracePacket packet;
    packet.set_trusted_packet_sequence_id(kSequence);
    auto* track = packet.mutable_track_descriptor();
    track->set_uuid(uuid);
    track->set_name(name);
    if (parent != 0) track->set_parent_uuid(parent);
    return packet;
}

void setValue(const AtomValue& value, DebugAnnotation* argument) {
    struct Setter {
        DebugAnnotation* argument;
        void operator()(int32_t number) const { argument->set_int_value(number); }
        void operator()(int64_t number) const { argument->set_int_value(number); }
        void operator()(float number) const { argument->set_double_value(number); }
        void operator()(bool truth) const { argument->set_bool_value(truth); }
        void operator()(const std::string& text) const { argument->set_string_value(text); }
    };
    std::visit(Setter{argument}, value);
}

}  // namespace

ClockReadings readClocks() {
    return {now(CLOCK_REALTIME), now(CLOCK_MONOTONIC), now(CLOCK_BOOTTIME)};
}

TraceWriter::TraceWriter(Sink sink, const ClockReadings& clocks)
      : mSink(std::move(sink)), mLastUuid(kRootUuid) {
    TracePacket packet = newPacket(clocks.boottimeNs);
    packet.set_sequence_flags(kSequenceBegins);
    auto* snapshot = packet.mutable_clock_snapshot();
    snapshot->set_primary_trace_clock(kBoottime);
    addClock(snapshot, kRealtime, clocks.realtimeNs);
    addClock(snapshot, kMonotonic, clocks.monotonicNs);
    addClock(snapshot, kBoottime, clocks.boottimeNs);
    std::string packets;
    append(packet, &packets);
    append(groupPacket(kRootUuid, 0, kRootName), &packets);
    mSink(packets);
}

void TraceWriter::add(const std::vector<StreamedAtom>& atoms) {
    write(mSeries.add(atoms));
    for (const StreamedAtom& atom : atoms) {
        if (atomInfo(atom.id).pushed) writePushed(atom);
    }
    flush();
}

void TraceWriter::advance(int64_t boottimeNs) {
    write(mSeries.expire(boottimeNs));
    flush();
}

void TraceWriter::flush() {
    if (mPending.empty()) return;
    mSink(mPending);
    mPending.clear();
}

uint64_t TraceWriter::groupOf(int32_t atomId) {
    uint64_t& uuid = mGroups[atomId];
    if (uuid == 0) {
        uuid = ++mLastUuid;
        const std::string name = std::to_string(atomId) + " " + atomInfo(atomId).name;
        append(groupPacket(uuid, kRootUuid, name), &mPending);
    }
    return uuid;
}

TraceWriter::Track& TraceWriter::trackOf(size_t series) {
    Track& track = mTracks[series];
    if (track.uuid == 0) {
        const Series& about = mSeries.all()[series];
        const uint64_t group = groupOf(about.atomId);
        track.uuid = ++mLastUuid;
        TracePacket packet = groupPacket(track.uuid, group, about.name);
        auto* counter = packet.mutable_track_descriptor()->mutable_counter();
        if (!about.unit.empty()) counter->set_unit_name(about.unit);
        append(packet, &mPending);
    }
    return track;
}

void TraceWriter::write(const std::vector<Sample>& samples) {
    for (const Sample& sample : samples) {
        Track& track = trackOf(sample.series);
        const bool first = track.writtenNs == 0;
        const bool due = sample.timestampNs - track.writtenNs >= kRepeatNs;
        if (!first && !due && sample.value == track.value) continue;
        track.value = sample.value;
        track.writtenNs = sample.timestampNs;
        TracePacket packet = newPacket(sample.timestampNs);
        TrackEvent* event = packet.mutable_track_event();
        event->set_type(TrackEvent::TYPE_COUNTER);
        event->set_track_uuid(track.uuid);
        if (const auto* whole = std::get_if<int64_t>(&sample.value)) {
            event->set_counter_value(*whole);
        } else {
            event->set_double_counter_value(std::get<double>(sample.value));
        }
        append(packet, &mPending);
    }
}

void TraceWriter::writePushed(const StreamedAtom& atom) {
    const AtomInfo& info = atomInfo(atom.id);
    const uint64_t track = groupOf(atom.id);
    TracePacket packet = newPacket(atom.timestampNs);
    TrackEvent* event = packet.mutable_track_event();
    event->set_type(TrackEvent::TYPE_INSTANT);
    event->set_track_uuid(track);
    event->set_name(info.name);
    for (size_t i = 0; i < atom.fields.size(); ++i) {
        DebugAnnotation* argument = event->add_debug_annotations();
        argument->set_name(info.fieldName(i));
        setValue(atom.fields[i], argument);
    }
    append(packet, &mPending);
}

}  // namespace zstats::vdevice
