// The platform's ProcessState for a process without a binder driver: its one fatal check, that the
// driver is there, is left out. All else is the platform's.

#include <utils/Log.h>

#undef LOG_ALWAYS_FATAL_IF
#define LOG_ALWAYS_FATAL_IF(condition, ...) static_cast<void>(condition)

#include PROCESS_STATE_SOURCE
