// Stand-in for the "audio" service: the power monitor only. It answers with the text of the
// profile's file "audio", or fails with the transport status N of its line "status=N".

#include <binder/Binder.h>
#include <binder/Parcel.h>

#include <cstring>

#include "sources/ServiceWire.h"
#include "vdevice/lib/ServiceMain.h"
#include "vdevice/lib/profile/ProfileFiles.h"

using namespace zstats::vdevice;

namespace {

using android::Parcel;
using android::status_t;

// readCString is deprecated, but the daemon sends a C string.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

class Audio : public android::BBinder {
  protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        if (code != zstats::kAudioMonitorCode) return BBinder::onTransact(code, data, reply, flags);
        const char* name = data.readCString();
        if (name == nullptr || strcmp(name, zstats::kAudioMonitorRequest) != 0)
            return android::BAD_VALUE;
        return answer(reply);
    }

  private:
    static status_t answer(Parcel* reply) {
        std::string text = readProfileFile(profilePath(profile::kAudio)).value_or("");
        const auto values = keyValueLines(text);
        const auto status = values.find("status");
        if (status != values.end()) {
            return parseInt(status->second).value_or(android::UNKNOWN_ERROR);
        }
        // An empty file is a reply without text.
        if (text.empty()) return android::OK;
        // Editors end a file with a newline, which is not part of the reply.
        if (text.back() == '\n') text.pop_back();
        return reply->writeCString(text.c_str());
    }
};

#pragma GCC diagnostic pop

}  // namespace

int main() {
    publishOrDie(zstats::kAudioService, android::sp<android::IBinder>(new Audio));
    return serveBinderCalls();
}
