// Arbitrary transactions on the acquisition service, and id lists through its message.

#include <binder/IPCThreadState.h>
#include <binder/Parcel.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "acquire/AtomsAcquireService.h"
#include "acquire/PushedAtomSubscription.h"
#include "tests/fuzz/FuzzKit.h"

using android::Parcel;
using zstats::fuzz::require;

namespace {

constexpr int64_t kShellUid = 2000;

/** Bits of an input's first byte; the rest of it is the request's data. */
enum : uint8_t { kCodeBits = 0x03, kWithToken = 0x04, kWithDescriptor = 0x08 };

/** The data with, where asked for, a descriptor behind the part that its second byte measures. */
void writeRequest(Parcel* request, uint8_t flags, const uint8_t* data, size_t size) {
    if ((flags & kWithToken) != 0) request->writeInterfaceToken(zstats::IAtomsAcquire::descriptor);
    if ((flags & kWithDescriptor) == 0 || size == 0) {
        request->write(data, size);
        return;
    }
    const size_t before = std::min<size_t>(data[0], size - 1);
    request->write(data + 1, before);
    request->writeDupFileDescriptor(STDERR_FILENO);
    request->write(data + 1 + before, size - 1 - before);
}

/** Whatever arrives, a reply is empty or starts with a status that a client can read. */
void fuzzTransaction(const uint8_t* data, size_t size) {
    static const android::sp service(new zstats::AtomsAcquireService);
    Parcel request;
    Parcel reply;
    writeRequest(&request, data[0], data + 1, size - 1);
    const uint32_t code = data[0] & kCodeBits;
    const auto result = service->transact(code, request, &reply);
    if (result != android::OK) {
        require(reply.dataSize() == 0);
        return;
    }
    android::binder::Status status;
    reply.setDataPosition(0);
    require(status.readFromParcel(reply) == android::OK);
    require(code != zstats::IAtomsAcquire::kRegisterFdForPushedAtoms || !status.isOk());
}

void fuzzMessage(const uint8_t* data, size_t size) {
    std::vector<int32_t> ids(size / sizeof(int32_t));
    if (!ids.empty()) memcpy(ids.data(), data, ids.size() * sizeof(int32_t));
    const std::string frame = zstats::frameMessage(zstats::serializeSubscription(ids));
    uint64_t length = 0;
    memcpy(&length, frame.data(), sizeof(length));
    require(length + sizeof(length) == frame.size());
}

}  // namespace

/** Under the uid of a caller that is refused, so that no input starts a subscription. */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    android::IPCThreadState::self()->restoreCallingIdentity(kShellUid << 32 | 1);
    if (size == 0) return 0;
    fuzzTransaction(data, size);
    fuzzMessage(data, size);
    return 0;
}
