#include <android-base/file.h>
#include <android-base/properties.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "cli/statsctl/DeviceHeader.h"
#include "cli/statsctl/Stream.h"
#include "cli/statsctl/TraceWriter.h"

namespace zstats::cli {
namespace {

using android::base::unique_fd;

/** The file to write to, or a duplicate of standard output for "-". */
unique_fd openTrace(const std::string& path) {
    if (path == "-") return unique_fd(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0));
    return unique_fd(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
}

TraceDevice thisDevice() {
    using android::base::GetProperty;
    TraceDevice device;
    device.header = deviceHeader("trace");
    device.soc = GetProperty("ro.soc.model", GetProperty("ro.board.platform", ""));
    uname(&device.kernel);
    const time_t now = time(nullptr);
    tm local = {};
    if (localtime_r(&now, &local) != nullptr) {
        device.minutesEastOfUtc = static_cast<int32_t>(local.tm_gmtoff / 60);
    }
    return device;
}

}  // namespace

int traceCommand(Statsd&, const CommandArguments& arguments) {
    const unique_fd file = openTrace(arguments.files[0]);
    if (file < 0) {
        fprintf(stderr, "statsctl: %s: %s\n", arguments.files[0].c_str(), strerror(errno));
        return kExitFailed;
    }
    int writeError = 0;
    TraceWriter writer(
            [&](std::string_view packets) {
                if (writeError != 0) return;
                if (!android::base::WriteFully(file, packets.data(), packets.size())) {
                    writeError = errno;
                }
            },
            readClocks(), thisDevice());
    const StreamUser user = [&](const std::vector<StreamedAtom>& atoms) {
        writer.add(atoms);
        if (atoms.empty()) writer.advance(readClocks().boottimeNs);
        return writeError == 0;
    };
    CommandArguments subscription = arguments;
    if (subscription.ids.empty()) subscription.ids = allAtomIds();
    endFollowingOnSignal();
    const int status = followStream(subscription, user);
    if (writeError == 0) return status;
    fprintf(stderr, "statsctl: %s: %s\n", arguments.files[0].c_str(), strerror(writeError));
    return kExitFailed;
}

}  // namespace zstats::cli
