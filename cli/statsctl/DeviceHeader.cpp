#include "cli/statsctl/DeviceHeader.h"

#include <android-base/file.h>
#include <android-base/properties.h>
#include <android-base/strings.h>
#include <elf.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string_view>

#include "cli/statsctl/TraceWriter.h"

namespace zstats::cli {
namespace {

constexpr char kDaemon[] = "/system_ext/bin/zstats_pullerd";
constexpr char kBootId[] = "/proc/sys/kernel/random/boot_id";

/** Copies a structure from the file; false if the file is too short. */
template <typename Structure>
bool copyAt(std::string_view file, size_t offset, Structure* out) {
    if (offset > file.size() || file.size() - offset < sizeof(Structure)) return false;
    memcpy(out, file.data() + offset, sizeof(Structure));
    return true;
}

size_t padded(size_t bytes) {
    return (bytes + 3) / 4 * 4;
}

std::string hexDigits(std::string_view bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        text += {kDigits[static_cast<uint8_t>(byte) >> 4], kDigits[static_cast<uint8_t>(byte) & 15]};
    }
    return text;
}

/** The build id among the notes, or an empty text. */
std::string buildIdIn(std::string_view notes) {
    Elf64_Nhdr note;
    while (copyAt(notes, 0, &note)) {
        const size_t content = sizeof(note) + padded(note.n_namesz);
        if (content > notes.size() || note.n_descsz > notes.size() - content) return "";
        const std::string_view name = notes.substr(sizeof(note), note.n_namesz);
        if (note.n_type == NT_GNU_BUILD_ID && name == std::string_view("GNU\0", 4)) {
            return hexDigits(notes.substr(content, note.n_descsz));
        }
        notes.remove_prefix(std::min(notes.size(), content + padded(note.n_descsz)));
    }
    return "";
}

}  // namespace

std::string buildIdOf(const std::string& path) {
    std::string file;
    Elf64_Ehdr head;
    if (!android::base::ReadFileToString(path, &file) || !copyAt(file, 0, &head)) return "";
    for (size_t i = 0; i < head.e_phnum; ++i) {
        Elf64_Phdr part;
        if (!copyAt(file, head.e_phoff + i * sizeof(part), &part)) return "";
        if (part.p_type != PT_NOTE || part.p_offset > file.size()) continue;
        const std::string id =
                buildIdIn(std::string_view(file).substr(part.p_offset, part.p_filesz));
        if (!id.empty()) return id;
    }
    return "";
}

RecordingHeader deviceHeader(const char* source) {
    using android::base::GetProperty;
    RecordingHeader header;
    header.source = source;
    header.device = GetProperty("ro.product.device", "");
    header.fingerprint = GetProperty("ro.build.fingerprint", "");
    if (getuid() == 0) header.daemon = buildIdOf(kDaemon);  // SELinux denies it to other users
    std::string bootId;
    if (android::base::ReadFileToString(kBootId, &bootId)) {
        header.bootId = android::base::Trim(bootId);
    }
    const ClockReadings clocks = readClocks();
    header.elapsedNs = clocks.boottimeNs;
    header.wallNs = clocks.realtimeNs;
    return header;
}

}  // namespace zstats::cli
