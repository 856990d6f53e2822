#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs into a scratch root and checks what a desktop sees there.
#   bash validate.sh <build-dir> <scratch-dir>
set -euo pipefail
root="$2/root" usr="$2/root/usr" id=org.example.Zarn
fail() { echo "desktop_validate: $*" >&2; exit 1; }
rm -rf "$root" && mkdir -p "$root"
DESTDIR="$root" cmake --install "$1" --prefix /usr >"$2/install.log" || fail "cmake --install failed"
desktop="$usr/share/applications/$id.desktop"
[ -x "$usr/bin/zarn" ] || fail "usr/bin/zarn is not installed"
desktop-file-validate "$desktop" || fail "desktop-file-validate rejects $desktop"
appstreamcli validate-tree --no-net --explain "$root" || fail "appstreamcli rejects the metadata"
grep -qx 'Exec=zarn %F' "$desktop" || fail "Exec is not 'zarn %F'"
# Every raster icon is a PNG of the size its folder names; the SVG is one.
for size in 16 22 24 32 48 64 128 256; do
    head -c 24 "$usr/share/icons/hicolor/${size}x${size}/apps/zarn.png" | od -An -tx1 | tr -d ' \n' |
        grep -q "^89504e470d0a1a0a0000000d49484452$(printf '%08x%08x' "$size" "$size")$" ||
        fail "icon ${size}x${size} is missing or of another size"
done
grep -q '<svg' "$usr/share/icons/hicolor/scalable/apps/zarn.svg" || fail "no scalable icon"
echo "desktop_validate: the install tree is complete and valid"
