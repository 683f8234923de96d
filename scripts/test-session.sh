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
trap 'rm -rf "$keyring"' EXIT
"$here/start-keyring.sh" "$keyring"

ctest --test-dir "$build" --output-on-failure "$@"
