// zstats_record: writes all that the daemon reads on this device as a profile folder.

#include <glob.h>
#include <sys/system_properties.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string_view>
#include <thread>

#include "cli/lib/CommandLine.h"
#include "cli/lib/ProfileNames.h"
#include "cli/lib/atoms/AtomCatalogue.h"
#include "cli/lib/device/AtomSources.h"
#include "cli/lib/device/DeviceSources.h"
#include "cli/lib/device/SourceConnections.h"
#include "cli/zstats_record/NodeSamples.h"
#include "cli/zstats_record/Recording.h"
#include "sources/ServiceWire.h"

using namespace zstats;
using namespace zstats::cli;

namespace {

constexpr char kUsage[] =
        "usage: zstats_record DIR [--samples N]\n"
        "Writes all that the daemon reads on this device as a profile folder.\n"
        "  --samples N   reads each node N times, a second apart; 1 if not given\n";
constexpr std::chrono::seconds kBetweenSamples(1);

// What start-up gating and our tools read of the kernel, besides what handlers do.
constexpr const char* kKernelFiles[] = {"/proc/meminfo", "/proc/uptime"};

void note(const char* what) {
    fprintf(stderr, "zstats_record: %s\n", what);
}

void recordNodes(const Recording& recording, int samples) {
    if (!serviceIsThere(handleFactoryService())) return note("no handle factory: no nodes");
    recording.makeFolder(profile::kNodes);
    std::map<std::string, std::vector<std::string>> contents;
    for (int sample = 0; sample < samples; ++sample) {
        if (sample > 0) std::this_thread::sleep_for(kBetweenSamples);
        for (const std::string_view key : sourceNames(SourceKind::kKey)) {
            Reading reading = readHandleKey(std::string(key));
            if (reading.ok) contents[std::string(key)].push_back(std::move(reading.text));
        }
    }
    for (auto& [key, texts] : contents) {
        for (const auto& [name, text] : nodeFiles(key, std::move(texts))) {
            recording.put(std::string(profile::kNodes) + "/" + name, text);
        }
    }
}

void recordCharger(const Recording& recording) {
    if (!serviceIsThere(chargerService())) return note("no charger service");
    std::string text;
    for (const std::string& method : chargerMethods()) {
        const Reading reading = readChargerMethod(method);
        text += method + "=" + (reading.ok ? reading.text : "fail") + "\n";
    }
    recording.put(profile::kCharger, text);
}

void recordTouch(const Recording& recording) {
    const Reading reading = readTouch();
    if (!reading.ok) return note("no text from the touch service");
    recording.put(profile::kTouch, reading.text);
}

/** The profile's lines for the replies to the three codes. */
std::string caldaText() {
    std::string text;
    if (const auto reply = callCalda(kCaldaStatus); reply && reply->transport != 0) {
        return "transport_error=" + std::to_string(reply->transport) + "\n";
    } else if (reply && reply->words.size() == 1) {
        text += "exception=" + std::to_string(reply->words[0]) + "\n";
    } else if (reply && reply->words.size() > 1) {
        text += "status=" + std::to_string(reply->words[1]) + "\n";
    }
    if (const auto reply = callCalda(kCaldaAmbient); reply && !reply->words.empty()) {
        text += "ambient=" + std::to_string(reply->words[0]) + "\n";
    }
    if (const auto reply = callCalda(kCaldaShellTemperatures); reply && reply->transport == 0) {
        std::string words;
        for (int32_t word : reply->words)
            words += (words.empty() ? "" : " ") + std::to_string(word);
        text += "vector=" + words + "\n";
    }
    return text;
}

void recordHeat(const Recording& recording) {
    if (serviceIsThere(kCaldaService)) {
        recording.put(profile::kCalda, caldaText());
    } else {
        note("no service calda");
    }
    const auto temperatures = readCpuTemperatures();
    if (!temperatures) return note("no temperatures from the thermal service");
    std::string text;
    for (float value : *temperatures) text += valueText(value) + "\n";
    recording.put(profile::kThermal, text);
}

void recordAudio(const Recording& recording) {
    const auto reply = callAudio();
    if (!reply) return note("no audio service");
    if (reply->transport != 0) {
        recording.put(profile::kAudio, "status=" + std::to_string(reply->transport) + "\n");
    } else {
        // An empty file is a reply without any text.
        recording.put(profile::kAudio, reply->text ? *reply->text + "\n" : "");
    }
}

void recordUsage(const Recording& recording) {
    const auto records = readUsageRecords();
    if (!records) return recording.put(profile::kUsage, "!fail\n");
    if (records->empty()) return;
    std::string text;
    for (const auto& record : *records) text += record.value_or("!nontext") + "\n";
    recording.put(profile::kUsage, text);
}

/** Records "ro." and "persist." properties; the others do not outlast a boot. */
void recordProperties(const Recording& recording) {
    const std::unique_ptr<FILE, int (*)(FILE*)> list(popen("getprop", "r"), pclose);
    char line[1024];
    std::string text;
    int tooLong = 0;
    while (list != nullptr && fgets(line, sizeof(line), list.get()) != nullptr) {
        const std::string entry(line);
        const size_t middle = entry.find("]: [");
        const size_t end = entry.rfind(']');
        if (entry[0] != '[' || middle == std::string::npos || end < middle + 4) continue;
        const std::string name = entry.substr(1, middle - 1);
        if (name.rfind("ro.", 0) != 0 && name.rfind("persist.", 0) != 0) continue;
        const std::string value = entry.substr(middle + 4, end - middle - 4);
        if (value.size() >= PROP_VALUE_MAX) {
            ++tooLong;
            continue;
        }
        text += name + "=" + value + "\n";
    }
    if (tooLong > 0) note((std::to_string(tooLong) + " properties are too long").c_str());
    if (text.empty()) note("getprop lists no properties");
    recording.put(profile::kBuildProp, text);
}

void recordFile(const Recording& recording, const std::string& path) {
    const Reading reading = readDeviceFile(path);
    if (reading.ok) recording.put(profile::kRoot + path, reading.text);
}

void recordKernel(const Recording& recording) {
    for (const char* path : kKernelFiles) recordFile(recording, path);
    for (const ValueSource& source : atomSources()) {
        if (source.kind != SourceKind::kFile) continue;
        glob_t found = {};
        glob(source.name.c_str(), 0, nullptr, &found);
        for (size_t i = 0; i < found.gl_pathc; ++i) {
            const std::string path = found.gl_pathv[i];
            recordFile(recording, path);
            for (const std::string& name : source.beside) {
                recordFile(recording, path.substr(0, path.rfind('/') + 1) + name);
            }
        }
        globfree(&found);
    }
}

}  // namespace

int main(int argc, char** argv) {
    int samples = 1;
    std::vector<std::string> words;
    CommandLine line("zstats_record", kUsage);
    line.number("samples", &samples, 1);
    if (const auto ended = line.read(argc, argv, &words)) return *ended;
    if (words.size() != 1) return line.complain("wants DIR");

    const Recording recording(words[0]);
    recordNodes(recording, samples);
    recordCharger(recording);
    recordTouch(recording);
    recordHeat(recording);
    recordAudio(recording);
    recordUsage(recording);
    recordProperties(recording);
    recordKernel(recording);
    return EXIT_SUCCESS;
}
