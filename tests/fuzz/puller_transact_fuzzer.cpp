// Arbitrary transactions on the main service, among them those that the binder base serves.

#include <android/log.h>
#include <binder/IPCThreadState.h>
#include <binder/Parcel.h>
#include <fcntl.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "daemon/ZstatsPullerService.h"

namespace {

using android::IBinder;
using android::Parcel;
using android::sp;

void require(bool condition) {
    if (!condition) abort();
}

/** Every second input gets a code that means something; the others choose their own. */
uint32_t takeCode(const uint8_t*& data, size_t& size) {
    constexpr uint32_t kKnown[] = {IBinder::DUMP_TRANSACTION, IBinder::SHELL_COMMAND_TRANSACTION,
                                   IBinder::INTERFACE_TRANSACTION, IBinder::SYSPROPS_TRANSACTION};
    const uint8_t choice = data[0];
    ++data;
    --size;
    if ((choice & 1) != 0) return kKnown[(choice >> 1) % 4];
    uint32_t code = 0;
    const size_t taken = std::min(size, sizeof(code));
    memcpy(&code, data, taken);
    data += taken;
    size -= taken;
    return code;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
    static const sp<zstats::ZstatsPullerService> service(new zstats::ZstatsPullerService());
    static const int sink = open("/dev/null", O_WRONLY | O_CLOEXEC);
    android::IPCThreadState::self()->restoreCallingIdentity(1);
    if (size < 2) return 0;
    const uint8_t descriptors = data[0] % 4;
    ++data;
    --size;
    const uint32_t code = takeCode(data, size);

    Parcel request;
    for (uint8_t i = 0; i < descriptors; ++i) request.writeDupFileDescriptor(sink);
    request.write(data, size);
    Parcel reply;
    const android::status_t status = service->transact(code, request, &reply);
    // The service has no codes of its own.
    const bool isOwnCode =
            code >= IBinder::FIRST_CALL_TRANSACTION && code <= IBinder::LAST_CALL_TRANSACTION;
    require(!isOwnCode || status == android::UNKNOWN_TRANSACTION);
    require(status == android::OK || reply.dataSize() == 0);
    return 0;
}
