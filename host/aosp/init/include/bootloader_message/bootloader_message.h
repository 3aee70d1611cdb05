#pragma once

#include <string>
#include <vector>

#include "unexpected.h"

// Messages to a phone's boot loader, for instance to start the recovery system.

struct bootloader_message {
    char command[32];
};

STUB(inline bool read_bootloader_message(bootloader_message*, std::string*))
STUB(inline bool write_bootloader_message(const bootloader_message&, std::string*))
STUB(inline bool write_bootloader_message(const std::vector<std::string>&, std::string*))
STUB(inline bool write_reboot_bootloader(std::string*))
