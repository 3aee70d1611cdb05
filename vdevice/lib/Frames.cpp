#include "vdevice/lib/Frames.h"

#include <algorithm>

namespace zstats::vdevice {
namespace {

constexpr size_t kSessionAt = 1;
constexpr size_t kLengthAt = 3;
constexpr size_t kHeadBytes = 7;

void appendNumber(std::string* target, uint32_t number, size_t size) {
    for (size_t i = 0; i < size; ++i) *target += static_cast<char>(number >> (8 * i));
}

}  // namespace

std::string encodeFrame(FrameType type, uint16_t session, std::string_view bytes) {
    std::string frame(1, static_cast<char>(type));
    appendNumber(&frame, session, sizeof(session));
    appendNumber(&frame, static_cast<uint32_t>(bytes.size()), sizeof(uint32_t));
    return frame.append(bytes);
}

uint32_t decodeNumber(std::string_view bytes, size_t size) {
    uint32_t number = 0;
    if (bytes.size() < size) return number;
    for (size_t i = 0; i < size; ++i) number |= uint32_t{static_cast<uint8_t>(bytes[i])} << (8 * i);
    return number;
}

std::optional<Frame> FrameReader::take() {
    if (mPending.size() < kHeadBytes || mLost) return std::nullopt;
    const std::string_view pending = mPending;
    const size_t length = decodeNumber(pending.substr(kLengthAt));
    mLost = length > kMaxFrameBytes;
    if (mLost || pending.size() < kHeadBytes + length) return std::nullopt;
    Frame frame{static_cast<FrameType>(pending[0]),
                static_cast<uint16_t>(decodeNumber(pending.substr(kSessionAt), sizeof(uint16_t))),
                std::string(pending.substr(kHeadBytes, length))};
    mPending.erase(0, kHeadBytes + length);
    return frame;
}

}  // namespace zstats::vdevice
