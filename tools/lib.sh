# Shared by the project's shell scripts: progress with the elapsed time, and failing with one line.
# The time counts from ZSTATS_START (seconds), so that scripts which call each other agree.

ZSTATS_START=${ZSTATS_START:-$(date +%s)}
export ZSTATS_START

progress() {
    printf '[%4d s] %s\n' $(($(date +%s) - ZSTATS_START)) "$*" >&2
}

die() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}
