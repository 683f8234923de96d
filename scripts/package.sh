#!/usr/bin/env bash
# Builds the release packages veilora_VERSION_ARCH.deb and
# veilora-server_VERSION_ARCH.deb into BUILD/packages, then judges them: lintian
# must report no error (its warnings are printed), and each package must hold
# exactly the expected files, with Debian's owners and modes, and sound control
# data. Exits non-zero, saying why, on any mismatch.
# BUILD is $VEILORA_PACKAGE_BUILD_DIR, or build-package in the source tree.
# Extra arguments go to the configure step, e.g. scripts/package.sh -DVEILORA_VERSION=1.0.1
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${VEILORA_PACKAGE_BUILD_DIR:-$root/build-package}"
out="$build/packages"

fail() { echo "package: $*" >&2; exit 1; }
step() { echo "package: $* (${SECONDS}s)"; }

"$root/scripts/setup.sh"
for tool in cpack lintian dpkg-deb dpkg-shlibdeps; do
    command -v "$tool" >/dev/null 2>&1 || fail "$tool is missing (scripts/setup.sh installs it)"
done
models=(fr_detect.onnx fr_landmark.onnx fr_feature.onnx)
for model in "${models[@]}"; do
    [ -f "$root/.deps/models/$model" ] || fail "model $model is missing from .deps/models (run scripts/setup.sh)"
done

# Debian's own hardening flags, as a Debian build of the same source would get
# them; -g and -O2 left out, the build type sets the optimisation and the
# packages are stripped anyway.
buildflags() {
    DEB_BUILD_MAINT_OPTIONS=hardening=+all dpkg-buildflags --get "$1" |
        tr ' ' '\n' | grep -vxE -- '-g|-O2|-ffile-prefix-map=.*|-fdebug-prefix-map=.*' | tr '\n' ' '
}
cxxflags="$(buildflags CPPFLAGS)$(buildflags CXXFLAGS)"
ldflags="$(buildflags LDFLAGS)"

step "configuring $build"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
    -DVEILORA_BUILD_TESTS=OFF -DVEILORA_BUILD_BENCH=OFF -DVEILORA_WERROR=ON \
    -DCMAKE_CXX_FLAGS="$cxxflags" -DCMAKE_EXE_LINKER_FLAGS="$ldflags" "$@" >/dev/null
step "building"
cmake --build "$build"
step "packing"
rm -rf "$out"
(cd "$build" && cpack -G DEB -B "$out" >/dev/null) || fail "cpack failed (details in $out/_CPack_Packages)"

arch="$(dpkg --print-architecture)"
cache() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }
version="$(cache VEILORA_VERSION)-$(cache VEILORA_PACKAGE_REVISION)"
changelog_version="$(gzip -dc "$build/data/changelog.Debian.gz" | sed -n '1s/^veilora (\([^)]*\)).*/\1/p')"
[ "$changelog_version" = "$version" ] ||
    fail "data/debian/changelog starts at '$changelog_version' but the packages are $version: add an entry"

# check_package NAME SECTION REQUIRED-DEPENDS EXPECTED-FILE...
# REQUIRED-DEPENDS: packages that must be named in Depends (a regular expression each).
# EXPECTED-FILE: "MODE PATH" of every regular file, nothing more, nothing less.
check_package() {
    local name="$1" section="$2" required="$3"; shift 3
    local deb="$out/${name}_${version}_${arch}.deb"
    [ -f "$deb" ] || fail "$(basename "$deb") was not made; $out holds: $(ls "$out")"

    local field value
    for field in Package:"$name" Version:"$version" Architecture:"$arch" Section:"$section" \
        Maintainer:"Veilora team <support@veilora.norvane.com>" Homepage:"https://veilora.norvane.com"; do
        value="$(dpkg-deb -f "$deb" "${field%%:*}")"
        [ "$value" = "${field#*:}" ] || fail "$name: ${field%%:*} is '$value', expected '${field#*:}'"
    done
    local depends; depends="$(dpkg-deb -f "$deb" Depends)"
    [ -n "$depends" ] || fail "$name: Depends is empty"
    local dep
    for dep in libc6 libstdc\\+\\+6 $required; do
        grep -qE "(^|, |\| )$dep( |,|$)" <<<"$depends" || fail "$name: Depends does not name $dep: $depends"
    done
    [ -n "$(dpkg-deb -f "$deb" Description)" ] || fail "$name: no Description"

    local listed expected
    listed="$(dpkg-deb -c "$deb")"
    if grep -v '^[-d]' <<<"$listed"; then fail "$name: holds something that is neither a file nor a folder"; fi
    if awk '$2 != "root/root"' <<<"$listed" | grep .; then fail "$name: files above are not owned by root"; fi
    if grep '^d' <<<"$listed" | grep -v '^drwxr-xr-x'; then fail "$name: folders above are not 0755"; fi
    listed="$(grep '^-' <<<"$listed" | awk '{print $1, $6}' | sort)"
    expected="$(printf '%s\n' "$@" | sort)"
    if [ "$listed" != "$expected" ]; then
        diff <(echo "$expected") <(echo "$listed") | sed -n 's/^</  missing:   /p; s/^>/  unexpected:/p' >&2
        fail "$name: the file list (mode, path) differs from the expected one, see above"
    fi
    echo "$name: $(basename "$deb"), $(stat -c %s "$deb") bytes, $(wc -l <<<"$listed") files"
    echo "  Depends: $depends"
}

man=-rw-r--r--
doc() {
    echo "$man ./usr/share/doc/$1/copyright"
    echo "$man ./usr/share/doc/$1/changelog.Debian.gz"
    echo "$man ./usr/share/lintian/overrides/$1"
}
app_files=("-rwxr-xr-x ./usr/bin/veilora"
    "$man ./usr/lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)/veilora/veilora-video.so"
    "$man ./usr/share/applications/veilora.desktop"
    "$man ./usr/share/icons/hicolor/scalable/apps/veilora.svg"
    "$man ./usr/share/man/man1/veilora.1.gz"
    "$man ./etc/pam.d/veilora")
for model in "${models[@]}"; do app_files+=("$man ./usr/share/veilora/models/$model"); done
mapfile -t -O "${#app_files[@]}" app_files < <(doc veilora)
server_files=("-rwxr-xr-x ./usr/bin/veilora-server" "$man ./usr/share/man/man1/veilora-server.1.gz")
mapfile -t -O "${#server_files[@]}" server_files < <(doc veilora-server)

step "checking"
check_package veilora utils 'libqt6core6 libqt6gui6 libqt6widgets6 libqt6dbus6 libqt6network6 qt6-qpa-plugins xdg-utils' \
    "${app_files[@]}"
check_package veilora-server net 'libqt6core6 libqt6network6 libqt6httpserver6 libqt6sql6 libsodium23' \
    "${server_files[@]}"
conffiles="$(dpkg-deb -I "$out/veilora_${version}_${arch}.deb" conffiles 2>/dev/null || true)"
[ "$conffiles" = "/etc/pam.d/veilora" ] || fail "veilora: conffiles is '$conffiles', expected /etc/pam.d/veilora"
[ "$(ls "$out"/*.deb | wc -l)" -eq 2 ] || fail "expected two packages, $out holds: $(ls "$out"/*.deb)"

step "lintian"
# With --fail-on error, warnings are shown but only errors (or lintian itself
# failing) give a non-zero status.
status=0
lintian --fail-on error --tag-display-limit 0 "$out"/*.deb || status=$?
[ "$status" -eq 0 ] || fail "lintian reports errors (status $status)"
step "done: $(echo "$out"/*.deb)"
