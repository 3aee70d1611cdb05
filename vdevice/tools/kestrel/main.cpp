/**
 * kestrel: plays the kernel's side of the BPF data channel. Delivers one record, or a
 * disconnection, to a channel of the daemon, and ends once the daemon's callback has returned.
 */
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

#include "cli/lib/CommandLine.h"
#include "vendor/substitute/Substitute.h"

namespace {

using zstats::cli::CommandLine;
using zstats::substitute::Injection;

constexpr char kUsage[] =
        "usage: kestrel [--type N] [--pe N] [--lnr N] [--bnr N] [--info TEXT] [--flag N]\n"
        "               [--data-type N] [--null] [--disconnect] [--path PROGRAM]\n"
        "Delivers a record of the kernel to the daemon.\n"
        "  --type, --pe, --lnr, --bnr, --info   the record's fields; 0 and no text if not given\n"
        "  --flag N         the dispatcher's flag; 1 if not given\n"
        "  --data-type N    the kind of data that the record is said to be; 0 if not given\n"
        "  --null           hands over no record at all\n"
        "  --disconnect     ends the connection instead\n"
        "  --path PROGRAM   the channel of this program\n";

constexpr size_t kMaxPathBytes = 1023;

struct Request {
    int32_t type = 0;
    int32_t pe = 0;
    int32_t lnr = 0;
    int32_t bnr = 0;
    int32_t flag = 1;
    int16_t dataType = 0;
    std::string info;
    std::string path = "/system_ext/bin/zcvt/norda_sched";
    bool isNull = false;
    bool isDisconnect = false;
};

/** What a call asks for, or the status to end with. */
std::optional<int> readCall(int argc, char** argv, Request* request) {
    CommandLine line("kestrel", kUsage);
    line.number("type", &request->type);
    line.number("pe", &request->pe);
    line.number("lnr", &request->lnr);
    line.number("bnr", &request->bnr);
    line.number("flag", &request->flag);
    line.number("data-type", &request->dataType);
    line.text("info", &request->info);
    line.text("path", &request->path);
    line.flag("null", &request->isNull);
    line.flag("disconnect", &request->isDisconnect);
    const std::optional<int> ended = line.read(argc, argv);
    if (ended || (!request->path.empty() && request->path.size() <= kMaxPathBytes)) return ended;
    return line.complain("--path: wants 1 to " + std::to_string(kMaxPathBytes) + " characters");
}

int deliver(const Request& request) {
    if (request.isDisconnect) return zstats::substitute::injectDisconnect(request.path);
    Injection injection;
    injection.dispatchFlag = request.flag;
    injection.dataType = request.dataType;
    if (!request.isNull) {
        injection.record = zstats::substitute::fatalDataRecord(
                request.type, request.pe, request.lnr, request.bnr, request.info);
    }
    return zstats::substitute::injectRecord(request.path, injection);
}

}  // namespace

int main(int argc, char** argv) {
    Request request;
    if (const auto ended = readCall(argc, argv, &request)) return *ended;
    const int result = deliver(request);
    if (result == 0) return 0;
    if (result == -ECONNREFUSED) {
        fprintf(stderr, "kestrel: nobody is connected to the channel of %s\n", request.path.c_str());
    } else {
        fprintf(stderr, "kestrel: cannot deliver to %s: %s (%d)\n", request.path.c_str(),
                strerror(-result), -result);
    }
    return 1;
}
