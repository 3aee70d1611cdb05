#include "cli/statsctl/TraceWriter.h"

#include <ctime>

#include "proto/perfetto_trace.pb.h"

namespace zstats::cli {
namespace {

using perfetto::DebugAnnotation;
using perfetto::Trace;
using perfetto::TracePacket;
using perfetto::TrackDescriptor;
using perfetto::TrackEvent;

constexpr int64_t kNsInSecond = 1'000'000'000;
// All packets have one writer. The number is arbitrary, but not 0.
constexpr uint32_t kSequence = 1;
constexpr uint32_t kSequenceBegins = 1;
constexpr char kRootName[] = "zstats_pullerd";
constexpr int32_t kBatteryVoltageNow = 150010;
constexpr int32_t kBatteryCurrentNow = 150011;
constexpr int64_t kMicroInMilli = 1000;

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

/**
 * A hash of the track's path, which is the same in every recording: 64-bit FNV-1a, folded to 40
 * bits to save space, because each event has the uuid.
 */
constexpr uint64_t uuidOf(std::string_view path) {
    constexpr int kBits = 40;
    uint64_t hash = 0xcbf29ce484222325;
    for (const char byte : path) hash = (hash ^ static_cast<uint8_t>(byte)) * 0x100000001b3;
    return (hash >> kBits) ^ (hash & ((uint64_t{1} << kBits) - 1));
}

constexpr uint64_t kRootUuid = uuidOf(kRootName);

std::string groupPath(int32_t atomId) {
    return std::string(kRootName) + "/" + std::to_string(atomId);
}

TracePacket trackPacket(uint64_t uuid, const std::string& name) {
    TracePacket packet;
    packet.set_trusted_packet_sequence_id(kSequence);
    packet.mutable_track_descriptor()->set_uuid(uuid);
    packet.mutable_track_descriptor()->set_name(name);
    return packet;
}

TracePacket clocksPacket(const ClockReadings& clocks) {
    TracePacket packet = newPacket(clocks.boottimeNs);
    packet.set_sequence_flags(kSequenceBegins);
    auto* snapshot = packet.mutable_clock_snapshot();
    snapshot->set_primary_trace_clock(kBoottime);
    addClock(snapshot, kRealtime, clocks.realtimeNs);
    addClock(snapshot, kMonotonic, clocks.monotonicNs);
    addClock(snapshot, kBoottime, clocks.boottimeNs);
    return packet;
}

TracePacket systemInfoPacket(const TraceDevice& device) {
    TracePacket packet;
    packet.set_trusted_packet_sequence_id(kSequence);
    auto* info = packet.mutable_system_info();
    info->mutable_utsname()->set_sysname(device.kernel.sysname);
    info->mutable_utsname()->set_version(device.kernel.version);
    info->mutable_utsname()->set_release(device.kernel.release);
    info->mutable_utsname()->set_machine(device.kernel.machine);
    info->set_android_build_fingerprint(device.header.fingerprint);
    info->set_timezone_off_mins(device.minutesEastOfUtc);
    if (!device.soc.empty()) info->set_android_soc_model(device.soc);
    return packet;
}

TracePacket instantPacket(int64_t timestampNs, uint64_t track, const std::string& name) {
    TracePacket packet = newPacket(timestampNs);
    TrackEvent* event = packet.mutable_track_event();
    event->set_type(TrackEvent::TYPE_INSTANT);
    event->set_track_uuid(track);
    event->set_name(name);
    return packet;
}

/** An event on the root track that identifies the device. */
TracePacket recordingPacket(int64_t timestampNs, const RecordingHeader& header) {
    TracePacket packet = instantPacket(timestampNs, kRootUuid, "recording");
    const std::pair<const char*, const std::string&> texts[] = {{"device", header.device},
                                                                {"fingerprint", header.fingerprint},
                                                                {"daemon", header.daemon},
                                                                {"boot_id", header.bootId}};
    for (const auto& [name, text] : texts) {
        DebugAnnotation* argument = packet.mutable_track_event()->add_debug_annotations();
        argument->set_name(name);
        argument->set_string_value(text);
    }
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

TraceWriter::TraceWriter(Sink sink, const ClockReadings& clocks, const TraceDevice& device)
      : mSink(std::move(sink)) {
    append(clocksPacket(clocks));
    append(systemInfoPacket(device));
    TracePacket root = trackPacket(kRootUuid, kRootName);
    root.mutable_track_descriptor()->set_child_ordering(TrackDescriptor::EXPLICIT);
    append(root);
    append(recordingPacket(clocks.boottimeNs, device.header));
    flush();
}

void TraceWriter::add(const std::vector<StreamedAtom>& atoms) {
    write(mSeries.add(atoms));
    for (const StreamedAtom& atom : atoms) {
        if (atomInfo(atom.id).pushed) {
            writeInstant(describeGroup(atom.id), atom);
            continue;
        }
        writeIfFirst(atom);
        writeBattery(atom);
    }
    flush();
}

void TraceWriter::advance(int64_t boottimeNs) {
    write(mSeries.expire(boottimeNs));
    flush();
}

/** Appends the packet as an element of the trace. The elements need no frame around them. */
void TraceWriter::append(const TracePacket& packet) {
    Trace trace;
    *trace.add_packet() = packet;
    trace.AppendToString(&mPending);
}

void TraceWriter::flush() {
    if (mPending.empty()) return;
    mSink(mPending);
    mPending.clear();
}

uint64_t TraceWriter::describeGroup(int32_t atomId) {
    const uint64_t uuid = uuidOf(groupPath(atomId));
    if (!mGroups.insert(uuid).second) return uuid;
    const AtomInfo& info = atomInfo(atomId);
    TracePacket packet = trackPacket(uuid, std::to_string(atomId) + " " + info.name);
    TrackDescriptor* track = packet.mutable_track_descriptor();
    track->set_parent_uuid(kRootUuid);
    track->set_child_ordering(TrackDescriptor::EXPLICIT);
    track->set_sibling_order_rank(atomId);
    if (!info.conversion.empty()) track->set_description(info.conversion);
    append(packet);
    return uuid;
}

uint64_t TraceWriter::describeCounter(const Series& series) {
    const uint64_t group = describeGroup(series.atomId);
    const std::string field = std::to_string(series.field + 1);
    const uint64_t uuid = uuidOf(groupPath(series.atomId) + "/" + field + "/" + series.key);
    TracePacket packet = trackPacket(uuid, series.name);
    TrackDescriptor* track = packet.mutable_track_descriptor();
    track->set_parent_uuid(group);
    if (series.keyNumber) track->set_sibling_order_rank(*series.keyNumber);
    if (!series.key.empty()) track->set_description(series.key);
    if (!series.unit.empty()) track->mutable_counter()->set_unit_name(series.unit);
    track->mutable_counter()->set_y_axis_share_key(std::to_string(series.atomId) + " " +
                                                   atomInfo(series.atomId).fieldName(series.field));
    append(packet);
    return uuid;
}

void TraceWriter::write(const std::vector<Sample>& samples) {
    for (const Sample& sample : samples) {
        const auto [entry, isNew] = mTracks.emplace(sample.series, Track{0, sample});
        Track& track = entry->second;
        if (isNew || sample.value == track.last.value) continue;
        if (track.uuid == 0) {
            track.uuid = describeCounter(mSeries.all()[sample.series]);
            writeSample(track.uuid, track.last);
        }
        writeSample(track.uuid, sample);
        track.last = sample;
    }
}

void TraceWriter::writeSample(uint64_t track, const Sample& sample) {
    TracePacket packet = newPacket(sample.timestampNs);
    TrackEvent* event = packet.mutable_track_event();
    event->set_type(TrackEvent::TYPE_COUNTER);
    event->set_track_uuid(track);
    if (const auto* whole = std::get_if<int64_t>(&sample.value)) {
        event->set_counter_value(*whole);
    } else {
        event->set_double_counter_value(std::get<double>(sample.value));
    }
    append(packet);
}

void TraceWriter::writeInstant(uint64_t track, const StreamedAtom& atom) {
    const AtomInfo& info = atomInfo(atom.id);
    TracePacket packet = instantPacket(atom.timestampNs, track, info.name);
    for (size_t i = 0; i < atom.fields.size(); ++i) {
        DebugAnnotation* argument = packet.mutable_track_event()->add_debug_annotations();
        argument->set_name(info.fieldName(i));
        setValue(atom.fields[i], argument);
    }
    append(packet);
}

/** Writes the atom's fields when the atom comes with this key for the first time. */
void TraceWriter::writeIfFirst(const StreamedAtom& atom) {
    const bool hasKey = !atomInfo(atom.id).oneEventPer.empty() && !atom.fields.empty();
    const std::string key = hasKey ? valueText(atom.fields.front()) : "";
    if (mSeen.emplace(atom.id, key).second) writeInstant(kRootUuid, atom);
}

/** Writes the battery's known current and voltage, if the atom changes one of them. */
void TraceWriter::writeBattery(const StreamedAtom& atom) {
    if (atom.id != kBatteryVoltageNow && atom.id != kBatteryCurrentNow) return;
    const auto* value = atom.fields.empty() ? nullptr : std::get_if<int32_t>(&atom.fields.front());
    if (value == nullptr) return;
    const auto [entry, isNew] = mBattery.emplace(atom.id, *value);
    if (!isNew && entry->second == *value) return;
    entry->second = *value;
    TracePacket packet = newPacket(atom.timestampNs);
    auto* battery = packet.mutable_battery();
    for (const auto& [id, number] : mBattery) {
        // While the battery is discharged, the atom's current is positive and the packet's negative.
        if (id == kBatteryCurrentNow) battery->set_current_ua(-kMicroInMilli * number);
        if (id == kBatteryVoltageNow) battery->set_voltage_uv(kMicroInMilli * number);
    }
    append(packet);
}

}  // namespace zstats::cli
