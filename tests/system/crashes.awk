# Reads a device's log, its kernel's messages, or both, and lists the processes that a signal ended as
# "PROGRAM SIGNAL PID". Processes that init ended on request are left out. An entry of priority F is an
# abort.

# The number, or the text up to END, that stands behind TEXT in the line.
function number_after(text) { return substr($0, index($0, text) + length(text)) + 0 }
function name_after(text, end,   rest) {
    rest = substr($0, index($0, text) + length(text))
    return substr(rest, 1, index(rest, end) - 1)
}

/Sending signal [0-9]+ to service '/ { asked[number_after("(pid "), number_after("Sending signal ")] = 1 }

/Service '.*' \(pid [0-9]+\) received signal [0-9]+/ {
    pid = number_after("(pid ")
    number = number_after("received signal ")
    service[pid] = name_after("Service '", "'")
    # Whatever ended it, init signals what is left of its group afterwards.
    if ((pid, number) in asked && !((pid, number) in ended)) requested[pid, number] = 1
    ended[pid, number] = service[pid]
}

# The kernel tells of the signals that dump core, and then of the thread that got it.
/potentially unexpected fatal signal [0-9]+/ { fatal = number_after("fatal signal ") }
fatal && / PID: [0-9]+ Comm: / {
    thread = name_after(" Comm: ", " ")
    pid = number_after(" PID: ")
    # A thread of a binder pool has its process's id in its name, and not the program.
    if (thread ~ /^binder:[0-9]+_/) {
        thread = "binder"
        pid = number_after(" Comm: binder:")
    }
    kernel[pid, fatal] = thread
    fatal = 0
}

/Out of memory: Killed process [0-9]+ \(/ {
    pid = number_after("Killed process ")
    kernel[pid, 9] = name_after("Killed process " pid " (", ")")
}

# DATE TIME UID PID TID F TAG: TEXT
/^[0-9-]+ +[0-9:.]+ +[0-9]+ +[0-9]+ +[0-9]+ F / {
    tag = $7
    sub(/:$/, "", tag)
    kernel[$4, 6] = tag
}

END {
    for (key in ended) {
        split(key, part, SUBSEP)
        if (!((part[1], part[2]) in requested)) print ended[key], part[2], part[1]
    }
    for (key in kernel) {
        split(key, part, SUBSEP)
        if (!((part[1], part[2]) in ended)) print kernel[key], part[2], part[1]
    }
}
