# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# Step headings with the elapsed time, for scripts that take a while. To be sourced.

# step <words>...: says what comes next and how long the script has been running.
step() {
    printf '\n==> [%d:%02d] %s\n' $((SECONDS / 60)) $((SECONDS % 60)) "$*"
}

# die <words>...: ends the script with a message.
die() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# jobs_at_once: how many processes to run side by side.
jobs_at_once() {
    nproc 2>/dev/null || echo 2
}
