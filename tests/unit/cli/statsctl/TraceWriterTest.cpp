#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>

#include "cli/statsctl/TraceWriter.h"

namespace zstats::cli {
namespace {

using google::protobuf::UnknownField;
using google::protobuf::UnknownFieldSet;
using Lines = std::vector<std::string>;

constexpr int64_t kSecond = 1'000'000'000;
constexpr ClockReadings kClocks = {7000, 2000, 3000};

// Published numbers of fields that are messages: the clocks, the battery, the system and its
// kernel, the track and its counter, the event and its arguments.
const std::set<std::string> kMessages = {"6",  "6.1",  "38", "45",  "45.1",
                                         "60", "60.8", "11", "11.4"};

// The uuids of tracks. They must not change, because existing recordings have them.
const std::map<std::string, std::string> kUuids = {
        {"259432962198", "root"},         {"708000199073", "voltage-now"},
        {"13913767096", "voltage"},       {"708000763050", "ddr-freq"},
        {"807066094524", "time-200-MHz"}, {"684640966471", "active-time-usb"},
        {"518136796169", "kestrel"},      {"708000525915", "cpu-temperature"},
        {"414339162645", "temperature-3"}};

std::string number(uint64_t value) {
    const std::string text = std::to_string(static_cast<int64_t>(value));
    const auto found = kUuids.find(text);
    return found == kUuids.end() ? text : found->second;
}

std::string flat(const UnknownFieldSet& fields, const std::string& path) {
    std::string out;
    for (int i = 0; i < fields.field_count(); ++i) {
        const UnknownField& field = fields.field(i);
        const std::string key = std::to_string(field.number());
        const std::string inner = path.empty() ? key : path + "." + key;
        out += (i > 0 ? " " : "") + key;
        UnknownFieldSet message;
        double real = 0;
        switch (field.type()) {
            case UnknownField::TYPE_VARINT:
                out += "=" + number(field.varint());
                break;
            case UnknownField::TYPE_FIXED64:
                memcpy(&real, &static_cast<const uint64_t&>(field.fixed64()), sizeof(real));
                out += "=" + std::to_string(real);
                break;
            default:
                if (kMessages.count(inner) != 0 &&
                    message.ParseFromString(field.length_delimited())) {
                    out += "{" + flat(message, inner) + "}";
                } else {
                    out += "=" + field.length_delimited();
                }
        }
    }
    return out;
}

/** Each packet of the trace as its field numbers and values. */
Lines packetsOf(const std::string& trace) {
    Lines lines;
    UnknownFieldSet packets;
    EXPECT_TRUE(packets.ParseFromString(trace));
    for (int i = 0; i < packets.field_count(); ++i) {
        EXPECT_EQ(packets.field(i).number(), 1);
        UnknownFieldSet packet;
        EXPECT_TRUE(packet.ParseFromString(packets.field(i).length_delimited()));
        lines.push_back(flat(packet, ""));
    }
    return lines;
}

TraceDevice device() {
    TraceDevice device;
    device.header.device = "foldq";
    device.header.fingerprint = "Norda/foldq";
    device.header.daemon = "c0de";
    device.header.bootId = "b007";
    device.kernel = {"Linux", "node", "6.12", "#1 SMP", "aarch64", ""};
    device.soc = "kestrel8";
    device.minutesEastOfUtc = -210;
    return device;
}

class TraceWriterTest : public testing::Test {
  protected:
    /** The packets that a message of the stream adds. */
    Lines add(const std::vector<StreamedAtom>& atoms) {
        mBytes.clear();
        mWriter.add(atoms);
        return packetsOf(mBytes);
    }

    std::string mBytes;
    TraceWriter mWriter{[this](std::string_view packets) { mBytes += packets; }, kClocks, device()};
};

TEST_F(TraceWriterTest, beginsWithTheClocksTheDeviceAndTheRootOfAllTracks) {
    EXPECT_EQ(
            packetsOf(mBytes),
            (Lines{"6{1{1=1 2=7000} 1{1=3 2=2000} 1{1=6 2=3000} 2=6} 8=3000 10=1 13=1",
                   "10=1 45{1{1=Linux 2=#1 SMP 3=6.12 4=aarch64} 2=Norda/foldq 7=-210 9=kestrel8}",
                   "10=1 60{1=root 2=zstats_pullerd 11=3}",
                   "8=3000 10=1 11{4{6=foldq 10=device} 4{6=Norda/foldq 10=fingerprint} "
                   "4{6=c0de 10=daemon} 4{6=b007 10=boot_id} 9=3 11=root 23=recording}"}));
}

TEST_F(TraceWriterTest, writesATrackFromItsFirstValueOnceAValueDiffers) {
    EXPECT_EQ(
            add({{150010, kSecond, 0, {4213}}}),
            (Lines{"8=1000000000 10=1 11{4{4=4213 10=voltage} 9=3 11=root 23=battery_voltage_now}",
                   "8=1000000000 10=1 38{7=4213000}"}));
    EXPECT_EQ(add({{150010, 2 * kSecond, 0, {4213}}}), Lines());
    EXPECT_EQ(add({{150010, 30 * kSecond, 0, {-1}}}),
              (Lines{"10=1 60{1=voltage-now 2=150010 battery_voltage_now 5=root 11=3 12=150010}",
                     ("10=1 60{1=voltage 2=battery_voltage_now voltage 5=voltage-now "
                      "8{6=mV 7=150010 voltage}}"),
                     "8=1000000000 10=1 11{9=4 11=voltage 30=4213}",
                     "8=30000000000 10=1 11{9=4 11=voltage 30=-1}",
                     "8=30000000000 10=1 38{7=-1000}"}));
    EXPECT_EQ(add({{150010, 60 * kSecond, 0, {-1}}}), Lines());
    EXPECT_EQ(
            add({{150010, 61 * kSecond, 0, {7}}}),
            (Lines{"8=61000000000 10=1 11{9=4 11=voltage 30=7}", "8=61000000000 10=1 38{7=7000}"}));
}

TEST_F(TraceWriterTest, givesEachKeyATrackThatNamesIt) {
    add({{150031, kSecond, 0, {0, 41}}, {150031, kSecond, 0, {3, 47}}});
    EXPECT_EQ(add({{150031, 2 * kSecond, 0, {0, 41}}, {150031, 2 * kSecond, 0, {3, 48}}}),
              (Lines{"10=1 60{1=cpu-temperature 2=150031 cpu_temperature 5=root 11=3 12=150031 "
                     "14=truncated toward 0; `index` is the place in the service's list}",
                     "10=1 60{1=temperature-3 2=cpu_temperature temperature, index 3 "
                     "5=cpu-temperature 8{6=°C 7=150031 temperature} 12=3 14=index 3}",
                     "8=1000000000 10=1 11{9=4 11=temperature-3 30=47}",
                     "8=2000000000 10=1 11{9=4 11=temperature-3 30=48}"}));
    // A key that appears later also gets an event.
    EXPECT_EQ(add({{150031, 3 * kSecond, 0, {4, 50}}}),
              Lines{"8=3000000000 10=1 11{4{4=4 10=index} 4{4=50 10=temperature} 9=3 11=root "
                    "23=cpu_temperature}"});
}

TEST_F(TraceWriterTest, datesARateAtThePullBefore) {
    add({{150027, kSecond, 0, {200, int64_t{900}}}});
    EXPECT_EQ(add({{150027, 3 * kSecond, 0, {200, int64_t{500}}}}), Lines());
    const Lines lines = add({{150027, 5 * kSecond, 0, {200, int64_t{0}}}});
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(Lines(lines.begin() + 1, lines.end()),
              (Lines{"10=1 60{1=time-200-MHz 2=ddr_freq_time_information time, 200 MHz 5=ddr-freq "
                     "8{6=ms/s 7=150027 time} 12=200 14=200 MHz}",
                     "8=1000000000 10=1 11{9=4 11=time-200-MHz 44=250.000000}",
                     "8=3000000000 10=1 11{9=4 11=time-200-MHz 44=0.000000}"}));
}

TEST_F(TraceWriterTest, letsASourceThatIsNotActiveAnyMoreFallToZero) {
    const std::vector<AtomValue> source = {std::string("usb"), int64_t{1}, int64_t{2}, int64_t{3},
                                           int64_t{4},         true,       int64_t{60}};
    const auto silent = [this](int second) { return add({{150010, second * kSecond, 0, {4213}}}); };
    add({{150020, kSecond, 0, source}});
    silent(2);
    EXPECT_EQ(silent(3).back(), "8=3000000000 10=1 11{9=4 11=active-time-usb 30=0}");
    EXPECT_EQ(silent(4), Lines());
    EXPECT_EQ(add({{150020, 5 * kSecond, 0, source}}),
              Lines{"8=5000000000 10=1 11{9=4 11=active-time-usb 30=60}"});
    // Its atom comes without it.
    std::vector<AtomValue> other = source;
    other[0] = std::string("rtc");
    EXPECT_EQ(add({{150020, 6 * kSecond, 0, other}}).front(),
              "8=6000000000 10=1 11{9=4 11=active-time-usb 30=0}");
    // No atom comes any more.
    add({{150020, 7 * kSecond, 0, source}});
    mBytes.clear();
    mWriter.advance(18 * kSecond);
    EXPECT_EQ(packetsOf(mBytes), Lines{"8=18000000000 10=1 11{9=4 11=active-time-usb 30=0}"});
}

TEST_F(TraceWriterTest, writesAPushedAtomAsAnInstantWithItsFields) {
    EXPECT_EQ(
            add({{100207, kSecond, 0, {7, 1, -2, 3, std::string("x")}}}),
            (Lines{"10=1 60{1=kestrel 2=100207 kestrel_fatal_data 5=root 11=3 12=100207}",
                   "8=1000000000 10=1 11{4{4=7 10=type} 4{4=1 10=pe} 4{4=-2 10=lnr} 4{4=3 10=bnr} "
                   "4{6=x 10=info} 9=3 11=kestrel 23=kestrel_fatal_data}"}));
}

}  // namespace
}  // namespace zstats::cli
