#pragma once

#include <string>
#include <vector>

#include "unexpected.h"

// Messages to a phone's boot loader, for instance to start the recovery system.

struct bootloader_message {
    char command[32];
};

inline bool read_bootloader_message(bootloader_message* /*boot*/, std::string* /*error*/) {
    unexpected(__func__);
}

inline bool write_bootloader_message(const bootloader_message& /*boot*/, std::string* /*error*/) {
    unexpected(__func__);
}

inline bool write_bootloader_message(const std::vector<std::string>& /*options*/,
                                     std::string* /*error*/) {
    unexpected(__func__);
}

inline bool write_reboot_bootloader(std::string* /*error*/) {
    unexpected(__func__);
}
