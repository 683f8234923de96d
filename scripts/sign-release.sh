#!/usr/bin/env bash
# Publishes a package to the server's update feed: copies it into the feed
# folder, signs it with the release key and adds its <item> to appcast.xml
# there (created when missing). Run on the publisher's computer; the secret key
# never goes to the server.
#
#   scripts/sign-release.sh --key SECRETFILE --feed-dir DIR --base-url URL \
#       --version BUILD --short-version VERSION [--notes-url URL] [--title TEXT] PACKAGE.deb
#
# URL is where DIR is served ("https://veilora.norvane.com/feed"); BUILD is the
# build number the application compares (VEILORA_BUILD_NUMBER of that build).
# The release tool comes from VEILORA_RELEASE_TOOL, else build/tools/.
# A key pair is made once with `veilora-release-tool keygen SECRETFILE`; its
# public half goes into the build as VEILORA_UPDATE_PUBLIC_KEY.
set -euo pipefail

die() { echo "sign-release.sh: $*" >&2; exit 1; }

key="" feed="" base="" build="" short="" notes="" title="" package=""
while [[ $# -gt 0 ]]; do
    case "$1" in
        --key) key="$2"; shift 2 ;;
        --feed-dir) feed="$2"; shift 2 ;;
        --base-url) base="${2%/}"; shift 2 ;;
        --version) build="$2"; shift 2 ;;
        --short-version) short="$2"; shift 2 ;;
        --notes-url) notes="$2"; shift 2 ;;
        --title) title="$2"; shift 2 ;;
        -*) die "unknown option $1" ;;
        *) [[ -z "$package" ]] || die "one package at a time"; package="$1"; shift ;;
    esac
done
[[ -n "$key" && -n "$feed" && -n "$base" && -n "$build" && -n "$short" && -n "$package" ]] ||
    die "usage: --key SECRETFILE --feed-dir DIR --base-url URL --version BUILD --short-version VERSION PACKAGE"
[[ -f "$package" ]] || die "no package at $package"
[[ -d "$feed" ]] || die "no feed folder at $feed"
[[ "$build" =~ ^[0-9A-Za-z.+~-]+$ ]] || die "the build number may hold only letters, digits and . + ~ -"

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
tool="${VEILORA_RELEASE_TOOL:-$root/build/tools/veilora-release-tool}"
[[ -x "$tool" ]] || die "no release tool at $tool (build the veilora-release-tool target or set VEILORA_RELEASE_TOOL)"

# Text placed in XML: the five characters XML reserves, escaped.
xml() { sed -e 's/&/\&amp;/g' -e 's/</\&lt;/g' -e 's/>/\&gt;/g' -e 's/"/\&quot;/g' -e "s/'/\&apos;/g" <<<"$1"; }

name="$(basename "$package")"
appcast="$feed/appcast.xml"
if [[ -f "$appcast" ]] && grep -q "<sparkle:version>$(xml "$build")</sparkle:version>" "$appcast"; then
    die "build $build is already in $appcast"
fi

# Signed where it will be served from, so the signature covers exactly those bytes.
if [[ "$(realpath "$package")" != "$(realpath -m "$feed/$name")" ]]; then
    cp -- "$package" "$feed/$name.part"
    mv -- "$feed/$name.part" "$feed/$name"
fi
signature="$("$tool" sign "$feed/$name" --key "$key")"
length="$(stat -c %s "$feed/$name")"
encoded="$(python3 -c 'import sys, urllib.parse; print(urllib.parse.quote(sys.argv[1]))' "$name")"

item="    <item>
      <title>$(xml "${title:-Version $short}")</title>
      <pubDate>$(LC_ALL=C date -u '+%a, %d %b %Y %H:%M:%S +0000')</pubDate>
      <sparkle:version>$(xml "$build")</sparkle:version>
      <sparkle:shortVersionString>$(xml "$short")</sparkle:shortVersionString>"
if [[ -n "$notes" ]]; then
    item+="
      <sparkle:releaseNotesLink>$(xml "$notes")</sparkle:releaseNotesLink>"
fi
item+="
      <enclosure url=\"$(xml "$base/$encoded")\" length=\"$length\" type=\"application/vnd.debian.binary-package\"
                 sparkle:os=\"linux\" sparkle:edSignature=\"$signature\"/>
    </item>"

if [[ ! -f "$appcast" ]]; then
    cat >"$appcast" <<XML
<?xml version="1.0" encoding="utf-8"?>
<rss version="2.0" xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle">
  <channel>
    <title>Veilora</title>
  </channel>
</rss>
XML
fi
grep -q '</channel>' "$appcast" || die "$appcast has no </channel> to add the item before"

# The new item goes first, as feeds list the newest release at the top; the
# file is replaced at once, so the server never serves half of it.
ITEM="$item" awk '
    !done && /<item>|<\/channel>/ { print ENVIRON["ITEM"]; done = 1 }
    { print }
' "$appcast" >"$appcast.part"
mv -- "$appcast.part" "$appcast"
echo "Added $short (build $build, $length bytes) to $appcast"
