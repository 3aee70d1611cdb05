#include "sources/AudioClient.h"

#include <binder/Parcel.h>

#include <cstdint>
#include <cstring>

#include "daemon/base/Arithmetic.h"
#include "daemon/base/Log.h"
#include "sources/ServiceLookup.h"
#include "sources/ServiceWire.h"

namespace zstats {

using android::Parcel;

namespace {

// Deprecated in current platforms, but the audio service reads and writes C strings.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
void writeRequest(Parcel& request) {
    request.writeCString(kAudioMonitorRequest);
}

const char* readReply(const Parcel& reply) {
    const char* text = reply.readCString();
    return text != nullptr ? text : "";
}
#pragma GCC diagnostic pop

}  // namespace

std::optional<std::string> readAmplifierMonitor() {
    const android::sp<android::IBinder> service = lookUpService(kAudioService).binder;
    if (service == nullptr) {
        ZLOG(ERROR, "Cannot connect to service: audio");
        return std::nullopt;
    }
    Parcel request;
    Parcel reply;
    writeRequest(request);
    const android::status_t status = service->transact(kAudioMonitorCode, request, &reply, 0);
    if (status != android::OK) {
        ZLOG(ERROR, "Error invoking remote service: %s\n", strerror(wrap32(-int64_t{status})));
        return std::nullopt;
    }
    return readReply(reply);
}

}  // namespace zstats
