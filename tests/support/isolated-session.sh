#!/usr/bin/env bash
# Runs a command as on another computer of the same user: its own session bus,
# its own unlocked keyring and its own home, on the same X display. For tests of
# two application instances that share nothing but a server.
# Usage: isolated-session.sh HOME_DIR COMMAND [ARGS...]
set -euo pipefail
home="$1"; shift
mkdir -p "$home"
export HOME="$home" XDG_CONFIG_HOME="$home/config" XDG_DATA_HOME="$home/data" \
    XDG_CACHE_HOME="$home/cache" XDG_STATE_HOME="$home/state"
root="$(cd "$(dirname "$0")/../.." && pwd)"
exec dbus-run-session -- bash -c '
    "$0/scripts/start-keyring.sh" "$HOME/keyring"
    # The bus address, so that the test can reach this session (a second start
    # of the application hands its URL over on this bus).
    printf "%s\n" "$DBUS_SESSION_BUS_ADDRESS" >"$HOME/bus-address"
    exec "$@"' "$root" "$@"
