// The closed libraries for products that lack them: they answer "unsupported" and have no effect.
// The daemon then runs without the kernel channel and usage records.
#include <cerrno>

#include "vendor/include/feature_switch.h"
#include "vendor/include/stats_write.h"
#include "vendor/include/uah_client.h"
#include "vendor/include/zbpf_connection.h"

/** A product without feature switches has every feature enabled. */
bool isOsFeatureEnabled(const char* /*feature*/) {
    return true;
}

int zbpf_is_enable() {
    return 0;
}

int zbpf_btf_support() {
    return 0;
}

int zbpf_region_support() {
    return 0;
}

int zbpf_connect_start(zbpf_connect_request* /*request*/) {
    return -ENOSYS;
}

int zbpf_connect_exit(int /*fd*/, const char* /*name*/) {
    return -ENOSYS;
}

int Uah_fetch_dataset(std::vector<UahRecord>* /*records*/) {
    return -ENOSYS;
}

namespace NordaFramework {

int stats_write(int /*atomId*/, int /*type*/, int /*pe*/, int /*lnr*/, int /*bnr*/,
                const char* /*info*/) {
    return -ENOSYS;
}

}  // namespace NordaFramework
