// Stand-in for the maker's thermal service "calda". It has no interface file, so it answers raw
// transactions, from the profile's file "calda".

#include <binder/Binder.h>
#include <binder/Parcel.h>

#include "sources/ServiceWire.h"
#include "vdevice/lib/ServiceMain.h"
#include "vdevice/lib/profile/CaldaReplies.h"
#include "vdevice/lib/profile/ProfileFiles.h"

using namespace zstats::vdevice;

namespace {

using android::Parcel;
using android::status_t;
using android::String16;

class Calda : public android::BBinder {
  public:
    const String16& getInterfaceDescriptor() const override { return mDescriptor; }

  protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        if (code < FIRST_CALL_TRANSACTION || code > LAST_CALL_TRANSACTION) {
            return BBinder::onTransact(code, data, reply, flags);
        }
        if (!data.enforceInterface(mDescriptor)) return android::PERMISSION_DENIED;
        const auto text = readProfileFile(profilePath(profile::kCalda));
        const auto answer = caldaReply(text.value_or(""), code);
        if (!answer) return android::UNKNOWN_TRANSACTION;
        for (int32_t word : answer->words) reply->writeInt32(word);
        return answer->transport;
    }

  private:
    const String16 mDescriptor{zstats::kCaldaDescriptor};
};

}  // namespace

int main() {
    publishOrDie(zstats::kCaldaService, android::sp<android::IBinder>(new Calda));
    return serveBinderCalls();
}
