#pragma once

/** Ends the process with the name of the called function, which must be unreachable. */
[[noreturn]] void unexpected(const char* name);

/** Defines a function that is never called: it ends the process with its name. */
#define STUB(signature)                  \
    signature {                          \
        unexpected(__PRETTY_FUNCTION__); \
    }
