#pragma once

#include <sys/types.h>

#include "unexpected.h"

// The low-memory killer of a phone. Init registers each service with an oom_score_adjust line.

enum proc_type { PROC_TYPE_SERVICE };

struct lmk_procprio {
    pid_t pid;
    uid_t uid;
    int oomadj;
    proc_type ptype;
};

struct lmk_procremove {
    pid_t pid;
};

STUB(inline int lmkd_connect())
STUB(inline int lmkd_register_proc(int, lmk_procprio*))
STUB(inline int lmkd_unregister_proc(int, lmk_procremove*))
