// Arbitrary transactions on the main service, among them those that the binder base serves.

#include <binder/IPCThreadState.h>
#include <binder/Parcel.h>
#include <fcntl.h>

#include <algorithm>
#include <cstring>

#include "daemon/ZstatsPullerService.h"
#include "tests/fuzz/FuzzKit.h"

using android::IBinder;
using android::Parcel;
using zstats::fuzz::require;

namespace {

/** Every second input gets a code that means something; the others choose their own. */
uint32_t takeCode(uint8_t choice, std::string& bytes) {
    constexpr uint32_t kKnown[] = {IBinder::DUMP_TRANSACTION, IBinder::SHELL_COMMAND_TRANSACTION,
                                   IBinder::INTERFACE_TRANSACTION, IBinder::SYSPROPS_TRANSACTION};
    if ((choice & 1) != 0) return kKnown[(choice >> 1) % 4];
    uint32_t code = 0;
    const size_t taken = std::min(bytes.size(), sizeof(code));
    memcpy(&code, bytes.data(), taken);
    bytes.erase(0, taken);
    return code;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const android::sp service(new zstats::ZstatsPullerService());
    static const int sink = open("/dev/null", O_WRONLY | O_CLOEXEC);
    android::IPCThreadState::self()->restoreCallingIdentity(1);
    if (size < 2) return 0;
    std::string bytes = zstats::fuzz::textOf(data + 2, size - 2);
    const uint32_t code = takeCode(data[1], bytes);

    Parcel request;
    Parcel reply;
    for (int i = 0; i < data[0] % 4; ++i) request.writeDupFileDescriptor(sink);
    request.write(bytes.data(), bytes.size());
    const android::status_t status = service->transact(code, request, &reply);
    // The service has no codes of its own.
    const bool isOwnCode =
            code >= IBinder::FIRST_CALL_TRANSACTION && code <= IBinder::LAST_CALL_TRANSACTION;
    require(!isOwnCode || status == android::UNKNOWN_TRANSACTION);
    require(status == android::OK || reply.dataSize() == 0);
    return 0;
}
