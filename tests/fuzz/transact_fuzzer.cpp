// Arbitrary transactions on both services, also those that the binder base serves, and id lists
// through the subscription's message.

#include <binder/IPCThreadState.h>
#include <binder/Parcel.h>
#include <fcntl.h>

#include <algorithm>
#include <cstring>

#include "acquire/AtomsAcquireService.h"
#include "acquire/PushedAtomSubscription.h"
#include "daemon/ZstatsPullerService.h"
#include "tests/fuzz/FuzzKit.h"

using android::IBinder;
using android::Parcel;
using zstats::IAtomsAcquire;
using zstats::fuzz::require;

namespace {

constexpr int64_t kShellUid = 2000;

/** Bits of an input's first byte. The second chooses the code, the third where descriptors stand. */
enum : uint8_t { kAcquire = 0x01, kWithToken = 0x02, kDescriptors = 0x0c };

uint32_t codeOf(uint8_t choice) {
    constexpr uint32_t kKnown[] = {IBinder::DUMP_TRANSACTION, IBinder::SHELL_COMMAND_TRANSACTION,
                                   IBinder::INTERFACE_TRANSACTION, IBinder::SYSPROPS_TRANSACTION};
    return choice < 8 ? choice : choice < 16 ? kKnown[choice % 4] : choice * 0x01010101u;
}

/** Whatever arrives, a reply is empty or starts with a status that a client can read. */
void fuzzAcquire(uint32_t code, const Parcel& request) {
    static const android::sp service(new zstats::AtomsAcquireService);
    // A caller that is refused, so that no input starts a subscription.
    android::IPCThreadState::self()->restoreCallingIdentity(kShellUid << 32 | 1);
    Parcel reply;
    const auto result = service->transact(code, request, &reply);
    if (code > IAtomsAcquire::kRegisterFdForPushedAtoms) return;
    require(result == android::OK || reply.dataSize() == 0);
    if (result != android::OK) return;
    android::binder::Status status;
    reply.setDataPosition(0);
    require(status.readFromParcel(reply) == android::OK);
    require(code != IAtomsAcquire::kRegisterFdForPushedAtoms || !status.isOk());
}

void fuzzPuller(uint32_t code, const Parcel& request) {
    static const android::sp service(new zstats::ZstatsPullerService());
    android::IPCThreadState::self()->restoreCallingIdentity(1);
    Parcel reply;
    const auto result = service->transact(code, request, &reply);
    // The service has no codes of its own.
    const bool isOwn =
            code >= IBinder::FIRST_CALL_TRANSACTION && code <= IBinder::LAST_CALL_TRANSACTION;
    require(!isOwn || result == android::UNKNOWN_TRANSACTION);
    require(result == android::OK || reply.dataSize() == 0);
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

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const int sink = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (size < 3) return 0;
    const uint8_t flags = data[0];
    const size_t before = std::min<size_t>(data[2], size - 3);
    Parcel request;
    if ((flags & kWithToken) != 0) request.writeInterfaceToken(IAtomsAcquire::descriptor);
    request.write(data + 3, before);
    for (int i = 0; i < (flags & kDescriptors); i += 4) request.writeDupFileDescriptor(sink);
    request.write(data + 3 + before, size - 3 - before);
    (flags & kAcquire) != 0 ? fuzzAcquire(codeOf(data[1]), request)
                            : fuzzPuller(codeOf(data[1]), request);
    fuzzMessage(data + 3, size - 3);
    return 0;
}
