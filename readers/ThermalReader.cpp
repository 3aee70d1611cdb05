#include "readers/ThermalReader.h"

#include "daemon/base/Arithmetic.h"
#include "daemon/base/Log.h"
#include "sources/ServiceLookup.h"
#include "sources/ServiceWire.h"

namespace zstats {

using android::IBinder;
using android::Parcel;
using android::sp;
using android::status_t;

namespace {

// Both words before the shell temperatures have to exceed this. Their meaning is not published.
constexpr int32_t kSizeWordLimit = 3;

/** Makes a call; logs an error when the transport fails. */
status_t transactLogged(const sp<IBinder>& binder, uint32_t code, const Parcel& data,
                        Parcel* reply) {
    const status_t status = binder->transact(code, data, reply, 0);
    if (status != android::OK) {
        ZLOG(ERROR, "ThermalReader transact %d to calda failed! status: %d", static_cast<int>(code),
             status);
    }
    return status;
}

/** Appends the board's temperature, the first of four, or the three of the shell. */
int readShellTemperatures(const Parcel& reply, bool board, std::vector<int>& out) {
    const int32_t first = reply.readInt32();
    // A reply that ends early reads as zeros.
    const int32_t second = first > kSizeWordLimit ? reply.readInt32() : 0;
    if (second <= kSizeWordLimit) {
        ZLOG_AT(1, INFO, "ThermalReader get all shell temperature return invalid vec size");
        return -1;
    }
    const int32_t boardTemperature = reply.readInt32();
    if (board) {
        out.push_back(boardTemperature);
        return 0;
    }
    for (int i = 0; i < 3; ++i) out.push_back(reply.readInt32());
    return 0;
}

}  // namespace

ThermalReader::ThermalReader()
      : mServiceName(kCaldaService),
        mDescriptor(kCaldaDescriptor),
        mDeathRecipient(new ThermalDeathRecipient(this)) {
    getCaldaService();
}

ThermalReader::~ThermalReader() {
    const sp<IBinder> binder = mCaldaBinder.load();
    if (binder != nullptr) binder->unlinkToDeath(mDeathRecipient);
}

void ThermalReader::getCaldaService() {
    if (mCaldaBinder.load() != nullptr) {
        ZLOG_AT(2, DEBUG, "ThermalReader Calda Binder already exists");
        return;
    }
    const auto [managerFound, binder] = lookUpService(mServiceName.c_str());
    if (!managerFound) {
        ZLOG_AT(1, INFO, "ThermalReader getServiceManager failed");
        return;
    }
    if (binder == nullptr) {
        ZLOG_AT(1, INFO, "ThermalReader checkService failed");
        return;
    }
    // Store before linking: a notice that arrives at once has to find it.
    mCaldaBinder.store(binder);
    if (mDeathRecipient != nullptr) {
        const status_t status = binder->linkToDeath(mDeathRecipient, nullptr, 0);
        if (status != android::OK) {
            ZLOG_AT(0, WARN, "ThermalReader registBinder calda link to death failed! status %d",
                    status);
        }
    }
    ZLOG_AT(2, DEBUG, "ThermalReader Calda Binder linked");
}

sp<IBinder> ThermalReader::beginQuery(Parcel& data) {
    const status_t status = data.writeInterfaceToken(mDescriptor);
    if (status != android::OK) {
        ZLOG(ERROR, "ThermalReader writeInterfaceToken calda failed! status: %d", status);
        return nullptr;
    }
    getCaldaService();
    // A copy, so that a death notice cannot free the binder during the transaction.
    const sp<IBinder> binder = mCaldaBinder.load();
    if (binder == nullptr) {
        // Every query logs this text, although it names one of them.
        ZLOG(ERROR, "ThermalReader connect calda failed in getThermalStatus");
    }
    return binder;
}

int ThermalReader::getThermalStatus(int& status) {
    Parcel data;
    Parcel reply;
    const sp<IBinder> binder = beginQuery(data);
    if (binder == nullptr) return -1;
    if (transactLogged(binder, kCaldaStatus, data, &reply) != android::OK) return -1;
    const int32_t exception = reply.readInt32();
    if (exception != 0) {
        ZLOG(ERROR, "ThermalReader transact reply exception: %d", exception);
        return -1;
    }
    status = reply.readInt32();
    return 0;
}

int ThermalReader::getTemperatureInMilliCelsius(TemperatureType type, std::vector<int>& out) {
    Parcel data;
    Parcel reply;
    const sp<IBinder> binder = beginQuery(data);
    if (binder == nullptr) return -1;
    out.clear();
    // A failed call is not an error here: its reply is empty, and each word reads as 0.
    switch (type) {
        case BOARD:
        case SHELL:
            transactLogged(binder, kCaldaShellTemperatures, data, &reply);
            return readShellTemperatures(reply, type == BOARD, out);
        case AMBIENT:
            transactLogged(binder, kCaldaAmbient, data, &reply);
            out.push_back(wrap32(int64_t{reply.readInt32()} * 1000));
            return 0;
        default:
            ZLOG_AT(1, INFO, "ThermalReader revieved invalid temperature type: %d", type);
            return -1;
    }
}

void ThermalReader::ThermalDeathRecipient::binderDied(const android::wp<IBinder>& who) {
    const ScopedLock lock(mReader->mLock);
    mReader->dropIfHeld(who);
}

void ThermalReader::dropIfHeld(const android::wp<IBinder>& who) {
    ZLOG_AT(2, DEBUG, "ThermalReader enter binderDied");
    const sp<IBinder> held = mCaldaBinder.load();
    const auto* heldRefs = held != nullptr ? held->getWeakRefs() : nullptr;
    if (who.get_refs() != heldRefs) return;  // the notice is about another binder
    ZLOG_AT(1, INFO, "ThermalReader calda binderDied!");
    if (held != nullptr) mCaldaBinder.store(nullptr);
}

}  // namespace zstats
