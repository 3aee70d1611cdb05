#include "vdevice/lib/Frames.h"

#include <cstring>

namespace zstats::vdevice {
namespace {

/** All numbers are little endian, as on the device's processors. */
struct __attribute__((packed)) Head {
    FrameType type;
    uint16_t session;
    uint32_t length;
};

}  // namespace

std::string encodeFrame(FrameType type, uint16_t session, std::string_view bytes) {
    const Head head = {type, session, static_cast<uint32_t>(bytes.size())};
    return std::string(reinterpret_cast<const char*>(&head), sizeof(head)).append(bytes);
}

uint32_t decodeNumber(std::string_view bytes) {
    uint32_t number = 0;
    if (bytes.size() >= sizeof(number)) memcpy(&number, bytes.data(), sizeof(number));
    return number;
}

std::optional<Frame> FrameReader::take() {
    Head head;
    if (mPending.size() < sizeof(head) || mLost) return std::nullopt;
    memcpy(&head, mPending.data(), sizeof(head));
    const size_t size = sizeof(head) + head.length;
    mLost = head.length > kMaxFrameBytes;
    if (mLost || mPending.size() < size) return std::nullopt;
    Frame frame{head.type, head.session, mPending.substr(sizeof(head), head.length)};
    mPending.erase(0, size);
    return frame;
}

}  // namespace zstats::vdevice
