#!/usr/bin/env bash
# Runs inside the headless session that scripts/test.sh opens: starts the session
# services the tests talk to for real, then ctest.
set -uo pipefail
build="$1"; shift
here="$(cd "$(dirname "$0")" && pwd)"

# Tests that need the session's services fail here instead of skipping.
export VEILORA_TEST_SESSION=1

# The session's keyring, shared by every test binary (each cleans its own keys).
keyring="$(mktemp -d /tmp/veilora-keyring-XXXXXX)"
journald=""
cleanup() {
    rm -rf "$keyring"
    # A socket left behind would make every later journal write fail.
    if [[ -n "$journald" ]]; then
        kill "$journald" 2>/dev/null
        wait "$journald" 2>/dev/null
        rm -rf /run/systemd/journal
    fi
}
trap cleanup EXIT
"$here/start-keyring.sh" "$keyring"

# A journal for the tests of the tester's upload, where none runs (a container
# or CI machine without systemd); starting one needs root.
if [[ ! -S /run/systemd/journal/socket && "$(id -u)" == 0 && -x /lib/systemd/systemd-journald ]]; then
    /lib/systemd/systemd-journald >/dev/null 2>&1 &
    journald=$!
    for _ in $(seq 50); do [[ -S /run/systemd/journal/socket ]] && break; sleep 0.1; done
fi

ctest --test-dir "$build" --output-on-failure "$@"
