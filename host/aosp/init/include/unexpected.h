#pragma once

/** Ends the process with the name of the called function, which must be unreachable. */
[[noreturn]] void unexpected(const char* name);
