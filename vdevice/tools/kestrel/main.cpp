/**
 * kestrel: plays the kernel's side of the BPF data channel. Delivers one record, or a
 * disconnection, to a channel of the daemon, and ends once the daemon's callback has returned.
 */
#include <android-base/parseint.h>
#include <getopt.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "vendor/substitute/Substitute.h"

namespace {

using zstats::substitute::Injection;

constexpr char kUsage[] =
        "usage: kestrel [--type N] [--pe N] [--lnr N] [--bnr N] [--info TEXT] [--flag N]\n"
        "               [--data-type N] [--null] [--disconnect] [--path PROGRAM]\n";

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

enum Option { kType = 1, kPe, kLnr, kBnr, kFlag, kDataType, kInfo, kPath, kNull, kDisconnect };

constexpr option kOptions[] = {
        {"type", required_argument, nullptr, kType},
        {"pe", required_argument, nullptr, kPe},
        {"lnr", required_argument, nullptr, kLnr},
        {"bnr", required_argument, nullptr, kBnr},
        {"flag", required_argument, nullptr, kFlag},
        {"data-type", required_argument, nullptr, kDataType},
        {"info", required_argument, nullptr, kInfo},
        {"path", required_argument, nullptr, kPath},
        {"null", no_argument, nullptr, kNull},
        {"disconnect", no_argument, nullptr, kDisconnect},
        {nullptr, 0, nullptr, 0},
};

template <typename Number>
bool parseNumber(const char* name, const char* text, Number* number) {
    if (android::base::ParseInt(text, number)) return true;
    fprintf(stderr, "kestrel: --%s: '%s' is not a number of %zu bits\n", name, text,
            sizeof(Number) * 8);
    return false;
}

bool parsePath(const char* text, std::string* path) {
    *path = text;
    if (!path->empty() && path->size() <= kMaxPathBytes) return true;
    fprintf(stderr, "kestrel: --path: wants 1 to %zu characters\n", kMaxPathBytes);
    return false;
}

bool takeOption(int found, Request* request) {
    switch (found) {
        case kType:
            return parseNumber("type", optarg, &request->type);
        case kPe:
            return parseNumber("pe", optarg, &request->pe);
        case kLnr:
            return parseNumber("lnr", optarg, &request->lnr);
        case kBnr:
            return parseNumber("bnr", optarg, &request->bnr);
        case kFlag:
            return parseNumber("flag", optarg, &request->flag);
        case kDataType:
            return parseNumber("data-type", optarg, &request->dataType);
        case kInfo:
            request->info = optarg;
            return true;
        case kPath:
            return parsePath(optarg, &request->path);
        case kNull:
            request->isNull = true;
            return true;
        case kDisconnect:
            request->isDisconnect = true;
            return true;
        default:
            return false;  // getopt_long has told why
    }
}

bool parseArguments(int argc, char** argv, Request* request) {
    int found = 0;
    while ((found = getopt_long(argc, argv, "", kOptions, nullptr)) != -1) {
        if (!takeOption(found, request)) return false;
    }
    if (optind == argc) return true;
    fprintf(stderr, "kestrel: '%s' is no option\n", argv[optind]);
    return false;
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
    if (argc == 2 && strcmp(argv[1], "--help") == 0) {
        fputs(kUsage, stdout);
        return 0;
    }
    Request request;
    if (!parseArguments(argc, argv, &request)) return 2;
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
