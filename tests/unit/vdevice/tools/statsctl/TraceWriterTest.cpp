#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include "vdevice/tools/statsctl/TraceWriter.h"

namespace zstats::vdevice {
namespace {

using google::protobuf::UnknownField;
using google::protobuf::UnknownFieldSet;
using Lines = std::vector<std::string>;

constexpr int64_t kSecond = 1'000'000'000;
constexpr ClockReadings kClocks = {7000, 2000, 3000};

// Fields that hold messages, by the published numbers: the clocks, the track and its counter, the
// event and its arguments.
const std::set<std::string> kMessages = {"6", "6.1", "60", "60.8", "11", "11.4"};

std::string flat(const UnknownFieldSet& fields, const std::string& path) {
    std::string out;
    for (int i = 0; i < fields.field_count(); ++i) {
        const UnknownField& field = fields.field(i);
        const std::string number = std::to_string(field.number());
        const std::string inner = path.empty() ? number : path + "." + number;
        out += (i > 0 ? " " : "") + number;
        UnknownFieldSet message;
        double real = 0;
        switch (field.type()) {
            case UnknownField::TYPE_VARINT:
                out += "=" + std::to_string(static_cast<int64_t>(field.varint()));
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

class TraceWriterTest : public testing::Test {
  protected:
    /** The packets that a message of the stream adds. */
    Lines add(const std::vector<StreamedAtom>& atoms) {
        mBytes.clear();
        mWriter.add(atoms);
        return packetsOf(mBytes);
    }

    std::string mBytes;
    TraceWriter mWriter{[this](std::string_view packets) { mBytes += packets; }, kClocks};
};

TEST_F(TraceWriterTest, beginsWithTheClocksAndTheRootOfAllTracks) {
    EXPECT_EQ(packetsOf(mBytes),
              (Lines{"6{1{1=1 2=7000} 1{1=3 2=2000} 1{1=6 2=3000} 2=6} 8=3000 10=1 13=1",
                     "10=1 60{1=1 2=zstats_pullerd}"}));
}

TEST_F(TraceWriterTest, writesAValueWhenItChangesAndEveryTenSeconds) {
    EXPECT_EQ(add({{150010, kSecond, 0, {4213}}}),
              (Lines{"10=1 60{1=2 2=150010 battery_voltage_now 5=1}",
                     "10=1 60{1=3 2=battery_voltage_now voltage 5=2 8{6=mV}}",
                     "8=1000000000 10=1 11{9=4 11=3 30=4213}"}));
    EXPECT_EQ(add({{150010, 2 * kSecond, 0, {4213}}}), Lines());
    EXPECT_EQ(add({{150010, 3 * kSecond, 0, {-1}}}), Lines{"8=3000000000 10=1 11{9=4 11=3 30=-1}"});
    EXPECT_EQ(add({{150010, 12 * kSecond, 0, {-1}}}), Lines());
    EXPECT_EQ(add({{150010, 13 * kSecond, 0, {-1}}}),
              Lines{"8=13000000000 10=1 11{9=4 11=3 30=-1}"});
}

TEST_F(TraceWriterTest, givesEachKeyATrackAndTurnsDifferencesIntoRates) {
    EXPECT_EQ(add({{150027, kSecond, 0, {200, int64_t{900}}}}), Lines());
    EXPECT_EQ(add({{150027, 3 * kSecond, 0, {200, int64_t{500}}},
                   {150027, 3 * kSecond, 0, {547, int64_t{1}}}}),
              (Lines{"10=1 60{1=2 2=150027 ddr_freq_time_information 5=1}",
                     "10=1 60{1=3 2=ddr_freq_time_information time, 200 MHz 5=2 8{6=ms/s}}",
                     "8=3000000000 10=1 11{9=4 11=3 44=250.000000}"}));
}

TEST_F(TraceWriterTest, letsASourceThatIsNotActiveAnyMoreFallToZero) {
    const std::vector<AtomValue> source = {std::string("usb"), int64_t{1}, int64_t{2}, int64_t{3},
                                           int64_t{4},         true,       int64_t{60}};
    const auto silent = [this](int second) { return add({{150010, second * kSecond, 0, {4213}}}); };
    EXPECT_EQ(add({{150020, kSecond, 0, source}}).back(), "8=1000000000 10=1 11{9=4 11=7 30=60}");
    silent(2);
    EXPECT_EQ(silent(3), Lines{"8=3000000000 10=1 11{9=4 11=7 30=0}"});
    EXPECT_EQ(silent(4), Lines());
    EXPECT_EQ(add({{150020, 5 * kSecond, 0, source}}).back(),
              "8=5000000000 10=1 11{9=4 11=7 30=60}");
    // Its atom comes, and has another source.
    std::vector<AtomValue> other = source;
    other[0] = std::string("rtc");
    EXPECT_EQ(add({{150020, 6 * kSecond, 0, other}}).back(), "8=6000000000 10=1 11{9=4 11=7 30=0}");
    // Nothing comes any more.
    mBytes.clear();
    mWriter.advance(17 * kSecond);
    EXPECT_EQ(packetsOf(mBytes), Lines{"8=17000000000 10=1 11{9=4 11=14 30=0}"});
}

TEST_F(TraceWriterTest, writesAPushedAtomAsAnInstantWithItsFields) {
    EXPECT_EQ(
            add({{100207, kSecond, 0, {7, 1, -2, 3, std::string("x")}}}),
            (Lines{"10=1 60{1=2 2=100207 kestrel_fatal_data 5=1}",
                   "8=1000000000 10=1 11{4{4=7 10=type} 4{4=1 10=pe} 4{4=-2 10=lnr} 4{4=3 10=bnr} "
                   "4{6=x 10=info} 9=3 11=2 23=kestrel_fatal_data}"}));
}

}  // namespace
}  // namespace zstats::vdevice
