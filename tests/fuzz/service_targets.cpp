// The daemon's binder side: requests of callers, replies of services, files that a command's
// callback opens, and the kernel's records.

#include <android-base/file.h>
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <fuzzbinder/libbinder_driver.h>
#include <fuzzbinder/random_parcel.h>
#include <selinux/selinux.h>
#include <sys/system_properties.h>
#include <unistd.h>
#include <utils/String8.h>

#include <filesystem>
#include <set>
#include <stdexcept>
#include <thread>

#include "acquire/AtomsAcquireService.h"
#include "acquire/Cmd.h"
#include "daemon/AtomTable.h"
#include "daemon/PullDispatch.h"
#include "daemon/ZstatsPullerService.h"
#include "daemon/base/Log.h"
#include "kernel/BpfEventChannel.h"
#include "tests/fuzz/FuzzTarget.h"
#include "tests/support/FakeServices.h"
#include "tests/support/InProcessBinder.h"
#include "tests/support/OwnEntries.h"
#include "tests/support/ProcessCalls.h"
#include "vendor/substitute/Substitute.h"

using namespace zstats;
using namespace zstats::fuzz;
using android::IBinder;
using android::Parcel;
using android::sp;
using android::String16;

namespace {

FuzzedDataProvider providerOf(std::string_view input) {
    return {reinterpret_cast<const uint8_t*>(input.data()), input.size()};
}

/** SELinux's answers in this program: bits for enabled, labelled, readable and writable. */
unsigned gPolicy;

/** Answers every transaction of every service with the next bytes of the input. */
struct RandomService : Claiming {
    using Claiming::Claiming;

    android::status_t onTransact(uint32_t code, const Parcel&, Parcel* reply, uint32_t) override {
        if (code > LAST_CALL_TRANSACTION || reply == nullptr) return android::UNKNOWN_TRANSACTION;
        if (sInput->ConsumeIntegralInRange(0, 15) == 0) return sInput->ConsumeIntegral<int32_t>();
        // Numbers and texts first, as in a valid reply; then anything, also objects and descriptors.
        android::RandomParcelOptions options;
        options.writeHeader = [](Parcel* parcel, FuzzedDataProvider& words) {
            while (words.ConsumeBool()) {
                words.ConsumeBool() ? parcel->writeInt32(words.ConsumeIntegral<int8_t>())
                                    : parcel->writeString16(String16(
                                              words.ConsumeRandomLengthString(80).c_str()));
            }
        };
        const auto bytes = sInput->ConsumeBytes<uint8_t>(sInput->ConsumeIntegral<uint8_t>());
        fillRandomParcel(reply, FuzzedDataProvider(bytes.data(), bytes.size()), &options);
        reply->setDataPosition(0);
        return android::OK;
    }

    static inline FuzzedDataProvider* sInput = nullptr;
};

void add(const char* name, const sp<IBinder>& service) {
    android::defaultServiceManager()->addService(String16(name), service);
}

/** Publishes each service that the daemon calls. The audio service has no interface. */
bool addRandomServices() {
    for (const std::string descriptor :
         {"vendor.norda.hardware.handlefactory.IHandleFactory",
          "vendor.norda.hardware.charger.ICharger", "vendor.norda.hardware.touch.INordaTouch"}) {
        add((descriptor + "/default").c_str(), new RandomService(descriptor.c_str()));
    }
    add("thermalservice", new RandomService("android.os.IThermalService"));
    add("calda", new RandomService("com.norda.calda.ICaldaService"));
    add("audio", new RandomService(""));
    return __system_property_set("ro.hardware", "qcom") == 0;
}

/** Pulls an atom; the exceptions that its handler may throw are no findings. */
void pull(ZStatsPullAtomCallback& callback, int32_t tag) {
    AStatsEventList list;
    const auto run = [&] { require(onPullAtom(tag, &list, &callback) == 0); };
    // Expected exceptions: DDR low-power modes and UFS times, a key without a value; DDR residency,
    // a line without a number; scheduling words and CPU ranges, a number that is too large.
    const std::set<int32_t> throwing = {150013, 150028, 150027, 150141};
    if (tag == 150121) {
        throws<std::out_of_range, std::invalid_argument>(run);  // or none
    } else {
        throwing.count(tag) != 0 ? throws<std::out_of_range>(run) : throws(run);
    }
    eventsOf(list);
}

}  // namespace

int is_selinux_enabled() {
    return static_cast<int>(gPolicy & 1);
}
int getfilecon(const char*, char** context) {
    *context = (gPolicy & 2) != 0 ? strdup("file") : nullptr;
    return *context != nullptr ? 5 : -1;
}
int selinux_check_access(const char*, const char*, const char*, const char* permission, void*) {
    return (gPolicy & (permission[0] == 'r' ? 4 : 8)) != 0 ? 0 : -1;
}
void freecon(char* context) {
    free(context);
}

FUZZ_TARGET(touch_text) {
    static FakeTouch touch;
    std::string text(input);
    for (char& c : text) c &= 0x7f;
    touch.setText(text);
    ZStatsPullAtomCallback callback;
    pull(callback, 150131);
}

FUZZ_TARGET(transactions) {
    static const std::vector<sp<IBinder>> services = {new ZstatsPullerService,
                                                      new AtomsAcquireService};
    add("stats", new android::BBinder);  // answers a shell command with an error
    const auto threads = ownEntries("task").size();
    const auto fds = ownEntries("fd");
    fuzzService(services, providerOf(input));
    android::IPCThreadState::self()->clearCallingIdentity();
    // An accepted subscription is a thread that ends, and a descriptor that is kept for ever.
    while (ownEntries("task").size() > threads) std::this_thread::yield();
    for (const int fd : ownEntries("fd")) {
        if (fds.count(fd) == 0) close(fd);
    }
    takeProcessCalls();
    inprocess::reset();
    gLogLevel = 2;
}

FUZZ_TARGET(service_replies) {
    static const bool ready = addRandomServices();
    FuzzedDataProvider provider = providerOf(input);
    RandomService::sInput = &provider;
    ZStatsPullAtomCallback callback;
    while (ready && provider.remaining_bytes() > 0) {
        pull(callback, provider.PickValueInArray(kAtomTable).tag);
    }
}

FUZZ_TARGET(shell_callback) {
    static const TemporaryDir folder;
    std::filesystem::current_path(folder.path);
    FuzzedDataProvider provider = providerOf(input);
    gPolicy = provider.ConsumeIntegral<uint8_t>();
    const sp<MyShellCallback> callback(new MyShellCallback(android::alog));
    if (provider.ConsumeIntegralInRange(0, 7) == 0) callback->deactivate();
    const std::string modes[] = {"r", "r+", "w", "w+", provider.ConsumeRandomLengthString(8)};
    const String16 mode(provider.PickValueInArray(modes).c_str());
    const String16 context(provider.ConsumeRandomLengthString(20).c_str());
    const std::string bytes = provider.ConsumeRemainingBytesAsString();
    std::u16string units(bytes.size() / 2 + 1, u'\0');
    bytes.copy(reinterpret_cast<char*>(units.data()), bytes.size());
    const std::string path = android::String8(units.data(), units.size()).c_str();
    // Keeps the paths inside the folder.
    if (path[0] == '/' || path.find("..") != std::string::npos) return;
    const android::base::unique_fd fd(callback->openFile(String16(path.c_str()), context, mode));
    require(fd.ok() || fd == -1 || fd == -EINVAL);
    std::filesystem::remove_all(folder.path);
    std::filesystem::create_directory(folder.path);
}

FUZZ_TARGET(bpf_record) {
    std::string written;
    substitute::observeStatsWrites([&](const auto& atom) {
        written = substitute::fatalDataRecord(atom.type, atom.pe, atom.lnr, atom.bnr, atom.info);
    });
    FuzzedDataProvider provider = providerOf(input);
    const int flag = provider.ConsumeIntegralInRange(-1, 2);
    const auto type = provider.ConsumeIntegral<int16_t>();
    // The library NUL-terminates the text. A copy of the exact size shows reads beyond it.
    std::vector<char> record = provider.ConsumeRemainingBytes<char>();
    record.resize(std::max<size_t>(record.size(), 16));
    record.push_back('\0');
    onBpfDataArrived(flag, type, record.data());
    require(written.empty() == (flag != 1));
    require(written.empty() || memcmp(written.data(), record.data(), written.size()) == 0);
}
