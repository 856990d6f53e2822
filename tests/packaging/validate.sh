#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs the build tree into a scratch root and checks what a desktop sees:
# the executable, the desktop entry, the AppStream metadata and every icon.
#   bash validate.sh <build-dir> <scratch-dir>
set -euo pipefail

build="$1"
root="$2/root"
app_id=org.example.Zarn

fail() {
    echo "desktop_validate: $*" >&2
    exit 1
}

rm -rf "$root"
mkdir -p "$root"
DESTDIR="$root" cmake --install "$build" --prefix /usr >"$2/install.log" ||
    fail "cmake --install failed (see $2/install.log)"

usr="$root/usr"
desktop="$usr/share/applications/$app_id.desktop"
metainfo="$usr/share/metainfo/$app_id.metainfo.xml"
[ -x "$usr/bin/zarn" ] || fail "usr/bin/zarn is not installed"
[ -f "$desktop" ] || fail "desktop entry is not installed"
[ -f "$metainfo" ] || fail "AppStream metadata is not installed"

desktop-file-validate "$desktop" || fail "desktop-file-validate rejects $desktop"
# validate-tree also checks that the metadata's launchable entry is installed.
appstreamcli validate-tree --no-net --explain "$root" || fail "appstreamcli rejects $metainfo"

# The entry, the metadata and the executable must agree on their names.
grep -qx 'Exec=zarn %F' "$desktop" || fail "Exec is not 'zarn %F'"
grep -qx 'Icon=zarn' "$desktop" || fail "Icon is not 'zarn'"
grep -q "<launchable type=\"desktop-id\">$app_id.desktop</launchable>" "$metainfo" ||
    fail "metainfo does not launch $app_id.desktop"
grep -q '<binary>zarn</binary>' "$metainfo" || fail "metainfo does not provide the zarn binary"

# Each raster icon must be a PNG of exactly the size its directory names, or
# the icon theme shows a blurred or clipped picture.
icons="$usr/share/icons/hicolor"
for size in 16 22 24 32 48 64 128 256; do
    png="$icons/${size}x${size}/apps/zarn.png"
    [ -f "$png" ] || fail "icon ${size}x${size} is not installed"
    python3 - "$png" "$size" <<'EOF' || fail "icon $png is not a ${size}x${size} PNG"
import struct, sys
data = open(sys.argv[1], "rb").read(24)
size = int(sys.argv[2])
ok = data[:8] == b"\x89PNG\r\n\x1a\n" and data[12:16] == b"IHDR"
sys.exit(0 if ok and struct.unpack(">II", data[16:24]) == (size, size) else 1)
EOF
done
svg="$icons/scalable/apps/zarn.svg"
[ -f "$svg" ] || fail "scalable icon is not installed"
grep -q '<svg' "$svg" || fail "scalable icon is not an SVG file"

echo "desktop_validate: install tree in $root is complete and valid"
