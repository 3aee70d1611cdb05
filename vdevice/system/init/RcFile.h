#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zstats::vdevice {

/** A datagram socket that init makes for a service, as /dev/socket/NAME. */
struct RcSocket {
    std::string name;
    /** Each datagram tells its sender's credentials. */
    bool passCredentials = false;
    mode_t mode = 0;
    uid_t uid = 0;
    gid_t gid = 0;
};

/** A `service` stanza. */
struct RcService {
    std::string name;
    /** The program's path, then its arguments. */
    std::vector<std::string> command;
    std::string className = "default";
    uid_t uid = 0;
    /** The first is the group of the process, the others are supplementary. */
    std::vector<gid_t> gids = {0};
    /** Takes all capabilities away, also from root. */
    bool noCapabilities = false;
    bool oneshot = false;
    bool disabled = false;
    /** A process that ended is started again this long after its last start. */
    std::optional<std::chrono::milliseconds> restartPeriod;
    std::vector<RcSocket> sockets;
    /** Names under which the service registers once it is ready. */
    std::vector<std::string> interfaces;
    /** Files or folders of the profile without which the service is not started. */
    std::vector<std::string> needs;
};

/** A command: its name and its arguments. */
using RcCommand = std::vector<std::string>;

/** `property:NAME=VALUE`; the value "*" stands for any but the empty one. */
struct RcPropertyTrigger {
    std::string name;
    std::string value;
};

/** An `on TRIGGER [&& TRIGGER]...` stanza. */
struct RcAction {
    /** Empty if properties alone trigger it. */
    std::string event;
    /** All of them have to hold. */
    std::vector<RcPropertyTrigger> properties;
    std::vector<RcCommand> commands;
};

/** The stanzas of any number of files, in the order in which they were read. */
struct RcFile {
    std::vector<RcService> services;
    std::vector<RcAction> actions;
};

/**
 * Adds the stanzas of `text` to `out`. Returns what is wrong as "FILE:LINE: REASON", empty if
 * nothing is; `file` appears in that text alone. An unknown keyword is an error, since it would
 * have no effect.
 */
std::string parseRcFile(const std::string& file, std::string_view text, RcFile* out);

}  // namespace zstats::vdevice
