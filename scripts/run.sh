#!/usr/bin/env bash
# Installs what is missing, builds Veilora and starts it. Arguments go to the
# application, e.g. scripts/run.sh --camera-file ~/Videos/me.mp4
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
"$root/scripts/setup.sh"

build="${VEILORA_BUILD_DIR:-$root/build}"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DVEILORA_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" --target veilora
exec "$build/src/veilora" "$@"
