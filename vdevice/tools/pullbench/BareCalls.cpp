#include <android-base/unique_fd.h>
#include <android/os/IThermalService.h>
#include <dirent.h>
#include <fcntl.h>
#include <glob.h>
#include <sys/system_properties.h>
#include <unistd.h>
#include <vendor/norda/hardware/touch/INordaTouch.h>

#include <cstdlib>
#include <string>

#include "cli/lib/device/AtomSources.h"
#include "cli/lib/device/DeviceSources.h"
#include "cli/lib/device/SourceConnections.h"
#include "sources/ServiceWire.h"
#include "vdevice/tools/pullbench/Pullbench.h"
#include "vendor/include/uah_client.h"

namespace zstats::vdevice {
namespace {

using namespace cli;

using aidl::vendor::norda::hardware::handlefactory::HandleResult;
using android::IBinder;
using android::Parcel;
using android::String16;
using android::os::IThermalService;
using vendor::norda::hardware::touch::INordaTouch;

using Calls = std::vector<BareCall>;

/** Opens, reads to the end, closes. */
void readFile(const std::string& path) {
    const android::base::unique_fd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    char bytes[4096];
    while (fd.ok() && read(fd, bytes, sizeof(bytes)) > 0) {
    }
}

void listFolder(const char* path) {
    DIR* folder = opendir(path);
    if (folder == nullptr) return;
    while (readdir(folder) != nullptr) {
    }
    closedir(folder);
}

/**
 * One call for all files of a source, which are looked for once, now. Where files beside them may
 * be read, the folder is listed at each pull, too: such a set changes while the device runs.
 */
void addFiles(const ValueSource& source, Calls* calls) {
    std::vector<std::string> paths;
    glob_t found = {};
    if (glob(source.name.c_str(), 0, nullptr, &found) == 0) {
        paths.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
    }
    globfree(&found);
    if (!source.beside.empty()) {
        const std::string folder = source.name.substr(0, source.name.find('*'));
        calls->push_back([folder] { listFolder(folder.c_str()); });
        for (const std::string& path : std::vector(paths)) {
            if (atol(readDeviceFile(path).text.c_str()) == 0) continue;
            for (const std::string& name : source.beside) {
                paths.push_back(path.substr(0, path.rfind('/') + 1) + name);
            }
        }
    }
    calls->push_back([paths] {
        for (const std::string& path : paths) readFile(path);
    });
}

/** Adds a call to a service that is there. */
template <typename Service, typename Call>
void addCall(Calls* calls, const Service& service, Call call) {
    if (service != nullptr) calls->push_back([service, call] { call(*service); });
}

void addCharger(const std::string& method, Calls* calls) {
    addCall(calls, findCharger(), [getter = chargerGetter(method)](ICharger& charger) {
        int32_t value = 0;
        (charger.*getter)(&value);
    });
}

void addKey(const std::string& key, Calls* calls) {
    addCall(calls, findHandleFactory(), [key](IHandleFactory& factory) {
        HandleResult result;
        factory.readHandle(key, 0, &result);
    });
}

void addCalda(uint32_t code, Calls* calls) {
    addCall(calls, findService(kCaldaService), [code](IBinder& calda) {
        Parcel reply;
        transactCalda(calda, code, &reply);
    });
}

void addTouch(Calls* calls) {
    const auto touch = INordaTouch::asInterface(findService(kTouchService));
    addCall(calls, touch, [](INordaTouch& service) {
        String16 text;
        static_cast<void>(service.touchReadNodeFile(kTouchDevice, kRefreshRateNode, &text));
    });
}

void addThermal(Calls* calls) {
    const auto thermal = IThermalService::asInterface(findService(kThermalService));
    addCall(calls, thermal, [](IThermalService& service) {
        std::vector<android::os::Temperature> list;
        static_cast<void>(service.getCurrentTemperaturesWithType(kCpuTemperatureType, &list));
    });
}

void add(const ValueSource& source, Calls* calls) {
    const std::string& name = source.name;
    switch (source.kind) {
        case SourceKind::kKey:
            return addKey(name, calls);
        case SourceKind::kCharger:
            return addCharger(name, calls);
        case SourceKind::kTouch:
            return addTouch(calls);
        case SourceKind::kCalda:
            return addCalda(static_cast<uint32_t>(atoi(name.c_str())), calls);
        case SourceKind::kThermal:
            return addThermal(calls);
        case SourceKind::kAudio:
            // The one service that is to be looked up anew at each pull.
            return calls->push_back([] { callAudio(); });
        case SourceKind::kUsage:
            return calls->push_back([] {
                std::vector<UahRecord> records;
                Uah_fetch_dataset(&records);
            });
        case SourceKind::kFile:
            return addFiles(source, calls);
        case SourceKind::kProperty:
            return calls->push_back([name] { readDeviceProperty(name); });
    }
}

/** What the daemon reads at its start and keeps: the GPU's vendor and frequencies. */
bool isReadOnce(const ValueSource& source) {
    constexpr int32_t kGpuTimes = 150029;
    return source.tag == kGpuTimes && source.name.rfind("gpu_freq_time", 0) != 0;
}

}  // namespace

std::vector<BareCall> bareCallsOf(int32_t tag) {
    Calls calls;
    for (const ValueSource& source : sourcesOf(tag, readDeviceProperty("ro.hardware").text)) {
        if (!isReadOnce(source)) add(source, &calls);
    }
    return calls;
}

}  // namespace zstats::vdevice
