#!/usr/bin/env bash
# Starts a real Secret Service (GNOME Keyring) on the current session bus, with
# its files under DIR and its login keyring unlocked by a throwaway password, so
# the keychain can be used without anyone typing anything. Usage: start-keyring.sh DIR
set -euo pipefail
dir="$1"
mkdir -p "$dir/run" "$dir/data"
chmod 700 "$dir/run"
printf %s veilora-test |
    HOME="$dir" XDG_RUNTIME_DIR="$dir/run" XDG_DATA_HOME="$dir/data" \
        gnome-keyring-daemon --unlock --components=secrets >/dev/null
