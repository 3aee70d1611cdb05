#pragma once

#include <string>
#include <vector>

namespace zstats::vdevice {

/** Where the rc files lie in the device: those of the system, the daemon's, and the profile's. */
inline constexpr char kSystemRc[] = "/system/etc/init";
inline constexpr char kSystemExtRc[] = "/system_ext/etc/init";
inline constexpr char kProfileRc[] = "/odm/etc/init";

/** What a profile asks of a service of the rc files. */
struct RcService {
    std::string name;
    /** The binder services that it publishes. */
    std::vector<std::string> interfaces;
    /** Its section of the file, whole lines. */
    std::string section;
};

/** The services of an rc file, in its order. Leaves all else to init and to host_init_verifier. */
std::vector<RcService> rcServices(const std::string& text);

/** The services of all files of the folders, where they are there. */
std::vector<RcService> rcServicesIn(const std::vector<std::string>& folders);

}  // namespace zstats::vdevice
