#pragma once

#include <string>
#include <vector>

namespace zstats::vdevice {

/** Folders of rc files in the device: the system's, the daemon's, the profile's. */
inline constexpr char kSystemRc[] = "/system/etc/init";
inline constexpr char kSystemExtRc[] = "/system_ext/etc/init";
inline constexpr char kProfileRc[] = "/odm/etc/init";

/** A service of an rc file. */
struct RcService {
    std::string name;
    /** The binder services that it publishes. */
    std::vector<std::string> interfaces;
    /** Its section of the file, as whole lines. */
    std::string section;
};

/** The services of an rc file, in its order. Checks nothing: init and host_init_verifier do. */
std::vector<RcService> rcServices(const std::string& text);

/** The services of all files in those of the folders that exist. */
std::vector<RcService> rcServicesIn(const std::vector<std::string>& folders);

}  // namespace zstats::vdevice
