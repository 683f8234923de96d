#!/usr/bin/env bash
# Installs what is missing, builds the test configuration (sanitizers on,
# warnings as errors) and runs the whole suite in a headless session: its own X
# server (xvfb-run) and its own session bus (dbus-run-session).
# Extra arguments go to ctest, e.g. scripts/test.sh -R debug_log.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
"$root/scripts/setup.sh"

build="${VEILORA_TEST_BUILD_DIR:-$root/build-test}"

# The fuzzers need clang's libFuzzer, so they are a small build of their own.
cmake -S "$root/tests/fuzz" -B "$build-fuzz" -G Ninja -DCMAKE_CXX_COMPILER=clang++ >/dev/null
cmake --build "$build-fuzz"

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DVEILORA_SANITIZE=ON -DVEILORA_WERROR=ON -DVEILORA_BUILD_TESTS=ON \
    -DVEILORA_FUZZ_DIR="$build-fuzz" >/dev/null
cmake --build "$build"

# --- Release package -------------------------------------------------------
# The Debian packages are built and judged (lintian, file lists, control data)
# in a release build of their own; see scripts/package.sh.
"$root/scripts/package.sh"
# ---------------------------------------------------------------------------

exec dbus-run-session -- xvfb-run -a -s "-screen 0 1920x1080x24 +extension RANDR" \
    "$root/scripts/test-session.sh" "$build" "$@"
