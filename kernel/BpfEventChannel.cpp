#include "kernel/BpfEventChannel.h"

#include <cstdint>
#include <cstring>

#include "daemon/base/Log.h"
#include "vendor/include/stats_write.h"

namespace zstats {
namespace {

constexpr int kFatalDataFlag = 1;

// The closed library does not publish what the two ones select.
constexpr zbpf_connect_request kRequestTemplate = {
        {}, 1, 1, {}, {}, onBpfDataArrived, onBpfDisconnect};

/** The numbers at the start of a fatal-data record; a text follows. */
struct FatalDataHead {
    int32_t type;
    int32_t pe;
    int32_t lnr;
    int32_t bnr;
};
static_assert(sizeof(FatalDataHead) == 16);

void onKestrelFatalDataArrived(short dataType, const char* record) {
    if (record == nullptr) {
        ZLOG_AT(0, WARN, "onKestrelFatalDataArrived, bpf_data is null\n");
        return;
    }
    FatalDataHead head;
    memcpy(&head, record, sizeof(head));  // the record may be unaligned
    const char* info = record + sizeof(head);
    ZLOG_AT(2, DEBUG,
            "onKestrelFatalDataArrived: data_type(%d) bpf_data(type:%d pe:%d lnr:%d bnr:%d "
            "info:%s)",
            dataType, head.type, head.pe, head.lnr, head.bnr, info);
    NordaFramework::stats_write(kKestrelFatalAtom, head.type, head.pe, head.lnr, head.bnr, info);
}

}  // namespace

bool isBpfChannelSupported() {
    // Only the lowest bit of the first answer counts.
    return (zbpf_is_enable() & 1) != 0 && zbpf_btf_support() != 0 && zbpf_region_support() == 1;
}

zbpf_connect_request buildConnectionRequest(const char* path) {
    // The template's zeros terminate both texts.
    zbpf_connect_request request = kRequestTemplate;
    memcpy(request.path, path, strnlen(path, sizeof(request.path) - 1));
    static_assert(sizeof(request.name) == sizeof(kBpfClientName));
    memcpy(request.name, kBpfClientName, sizeof(kBpfClientName));
    return request;
}

void onBpfDataArrived(int dispatchFlag, short dataType, char* record) {
    ZLOG_AT(2, DEBUG, "onBpfDataArrived: bpf data arrived, dispatch_flag(%d)", dispatchFlag);
    if (dispatchFlag == kFatalDataFlag) {
        onKestrelFatalDataArrived(dataType, record);
    } else {
        ZLOG_AT(0, WARN, "unknown dispatch flag %d\n", dispatchFlag);
    }
}

void onBpfDisconnect() {
    ZLOG_AT(2, DEBUG, "kworker :on_bpf_disconnect");
}

}  // namespace zstats
