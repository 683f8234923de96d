#!/usr/bin/env bash
# Runs inside the headless session that scripts/test.sh opens: starts the session
# services the tests talk to for real, then ctest.
set -uo pipefail
build="$1"; shift

# Tests that need the session's services fail here instead of skipping.
export VEILORA_TEST_SESSION=1

ctest --test-dir "$build" --output-on-failure "$@"
