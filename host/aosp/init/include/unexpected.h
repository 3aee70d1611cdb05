#pragma once

/** Ends the process with a line that names what was reached: nothing here leads there. */
[[noreturn]] void unexpected(const char* name);
