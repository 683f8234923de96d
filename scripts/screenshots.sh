#!/usr/bin/env bash
# Pictures for the README, at twice the scale (crisp on HiDPI screens; show
# them at their window's width), written to docs/:
#   settings-<tab>-<light|dark>-<en|de|ja>.png   every settings tab over a fake enrolled
#                                                guard with the camera allowed (width 760)
#   settings-permissions-grant-<light|dark>-en.png  the camera not yet allowed
#   onboarding-<welcome|permission|tutorial>[-dark].png  the first-start pages (width 340)
#   onboarding-help-<case>.png                   the camera help, one per cause (width 440)
#   settings-account-<signed-out|no-keyring>-<light|dark>-en.png  the Account tab's other states
#   signin-page.png, signin-page-wrong-password.png  veilora-server's sign-in page as a real
#                                                browser (headless Chromium) draws it (width 480)
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
cmake --build "$build" --target settings_screenshots veilora-server

QT_SCALE_FACTOR="${VEILORA_SCREENSHOT_SCALE:-2}" \
    xvfb-run -a -s "-screen 0 1920x1080x24" "$build/tests/settings/settings_screenshots" "$out"

# The sign-in page of the sync server, drawn by a real browser.
if ! command -v chromium >/dev/null || ! command -v curl >/dev/null; then
    echo "screenshots.sh: the sign-in page needs a browser and curl: apt-get install chromium curl" >&2
    exit 1
fi
work="$(mktemp -d)"
server_pid=""
trap '[[ -n "$server_pid" ]] && kill "$server_pid"; rm -rf "$work"' EXIT
"$build/server/veilora-server" serve --listen 127.0.0.1:0 --database "sqlite:$work/db.sqlite" \
    >"$work/out" 2>/dev/null &
server_pid=$!
for _ in $(seq 50); do grep -q listening "$work/out" && break; sleep 0.1; done
base="$(sed -n 's/^listening on //p' "$work/out")"
query="app=veilora&challenge=E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM&state=c2NyZWVuc2hvdA"
browse() { # URL OUT
    chromium --headless --no-sandbox --disable-gpu --hide-scrollbars --force-device-scale-factor=2 \
        --window-size=480,560 --screenshot="$2" "$1" 2>/dev/null
}
browse "$base/app/connect?$query" "$out/signin-page.png"
# The page after a wrong password, as the server answers the form.
curl -s -o "$work/wrong.html" --data "$query&email=ada%40example.org&password=wrong" "$base/app/connect"
browse "file://$work/wrong.html" "$out/signin-page-wrong-password.png"
