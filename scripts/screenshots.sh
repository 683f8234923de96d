#!/usr/bin/env bash
# Pictures for the README, at twice the scale (crisp on HiDPI screens; show
# them at their window's width), written to docs/:
#   settings-<tab>-<light|dark>-<en|de|ja>.png   every settings tab over a fake enrolled
#                                                guard with the camera allowed (width 760)
#   settings-permissions-grant-<light|dark>-en.png  the camera not yet allowed
#   onboarding-<welcome|permission|tutorial>[-dark].png  the first-start pages (width 340)
#   onboarding-help-<case>.png                   the camera help, one per cause (width 440)
# Runs on a private X server.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${VEILORA_SCREENSHOT_BUILD_DIR:-$root/build-screenshots}"
out="${1:-$root/docs}"

if ! fc-list :lang=ja family | grep -q .; then
    echo "screenshots.sh: no Japanese font installed (fonts-noto-cjk): Japanese text would show as boxes" >&2
    exit 1
fi

# An existing build folder (say, the test build) is used as it is configured.
if [[ ! -f "$build/CMakeCache.txt" ]]; then
    cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVEILORA_BUILD_BENCH=OFF >/dev/null
fi
cmake --build "$build" --target settings_screenshots

QT_SCALE_FACTOR="${VEILORA_SCREENSHOT_SCALE:-2}" \
    xvfb-run -a -s "-screen 0 1920x1080x24" "$build/tests/settings/settings_screenshots" "$out"
