#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Starts the real program on its own X server as a file manager does, with a picture's path
# as argument; checks title and pixels on the screen, paints, saves through the dialog, quits.
#   desktop.sh <path-to-zarn> <output-dir>      (exits 77 when X tools are missing)
set -euo pipefail
zarn="$(realpath "$1")" out="$2/desktop" picture="sunset photo.ppm" xvfb_pid="" zarn_pid=""
hash Xvfb xdotool python3 2>/dev/null || { echo "SKIP: Xvfb, xdotool or python3 is missing"; exit 77; }
rm -rf "$out" && mkdir -m 700 -p "$out"
trap 'kill $zarn_pid $xvfb_pid 2>/dev/null; wait' EXIT
fail() { echo "e2e_desktop: FAILED: $*" >&2; sed 's/^/  zarn: /' "$out/zarn.log" >&2 2>/dev/null; exit 1; }
# Polls a command for up to $1 seconds; X has no event for "has repainted".
poll() {
    local deadline=$((SECONDS + $1)); shift
    until "$@" >/dev/null 2>&1; do ((SECONDS < deadline)) || return 1; sleep 0.1; done
}
titled() { xdotool search --onlyvisible --name "^$1\$" | head -n1; }
pixels() { python3 "$out/pixels.py" "$@"; }
cat >"$out/pixels.py" <<'PYTHON'
import struct, sys
def row(y, width):  # the test picture: red grows to the right, green downwards
    return b"".join(bytes((40 + x, 60 + y, 90)) for x in range(width))
command, path, width, height = sys.argv[1], sys.argv[2], int(sys.argv[3]), int(sys.argv[4])
header, picture = b"P6\n%d %d\n255\n" % (width, height), b"".join(row(y, width) for y in range(height))
if command == "make":
    open(path, "wb").write(header + picture)
elif command == "changed":  # the box around the pixels that differ from the test picture
    data, at = open(path, "rb").read(), len(header)
    changed = [i // 3 for i in range(0, len(picture), 3) if data[at + i:at + i + 3] != picture[i:i + 3]]
    changed and data.startswith(header) or sys.exit(1)
    print(min(p % width for p in changed), min(changed) // width, max(p % width for p in changed), max(changed) // width)
else:  # "find"  # Xvfb's frame buffer is an XWD file: header, colour map, BGRX pixels
    data = memoryview(open(path, "rb").read())
    head = struct.unpack(">25I", data[:100])
    screen, screen_width, stride, start = [], head[4], head[12], head[0] + head[19] * 12
    for y in range(head[5]):
        line, rgb = data[start + stride * y:][:4 * screen_width], bytearray(3 * screen_width)
        rgb[0::3], rgb[1::3], rgb[2::3] = line[2::4], line[1::4], line[0::4]
        screen.append(bytes(rgb))
    for y in range(len(screen) - height + 1):
        x = screen[y].find(row(0, width))
        if x % 3 == 0 and all(screen[y + j][x:x + 3 * width] == row(j, width) for j in range(height)):
            sys.exit(print(x // 3, y))  # found: print where, exit 0
    sys.exit(1)
PYTHON
pixels make "$out/$picture" 160 120 && pixels make "$out/decoy.ppm" 16 16
Xvfb -displayfd 3 -screen 0 1024x768x24 -fbdir "$out" -nolisten tcp 3>"$out/display" 2>"$out/xvfb.log" &
xvfb_pid=$!
poll 15 test -s "$out/display" || fail "Xvfb did not start: $(cat "$out/xvfb.log")"
export DISPLAY=":$(head -n1 "$out/display")" QT_QPA_PLATFORM=xcb XDG_CONFIG_HOME="$out" XDG_RUNTIME_DIR="$out"
unset QT_QPA_PLATFORMTHEME QT_STYLE_OVERRIDE XDG_CURRENT_DESKTOP WAYLAND_DISPLAY
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=0}"
# Qt's own option takes a picture as its value: Qt keeps it, Zarn must not open it.
"$zarn" -qwindowicon "$out/decoy.ppm" "$out/$picture" >"$out/zarn.log" 2>&1 &
zarn_pid=$!
poll 30 titled "$picture" || fail "no window titled '$picture' after 30 s; titles: $(
    xdotool search --onlyvisible --name . | xargs -rn1 xdotool getwindowname | tr '\n' '|')"
main="$(titled "$picture")"
xdotool mousemove 1020 760 # off the picture: Xvfb draws the pointer into the frame buffer
poll 10 pixels find "$out/Xvfb_screen0" 160 120 || fail "the picture's pixels are not on the screen"
read -r x y < <(pixels find "$out/Xvfb_screen0" 160 120)

# Brush (B), one stamp in the middle of the picture, then File > Save (Ctrl+S).
xdotool windowfocus --sync "$main" key b mousemove $((x + 80)) $((y + 60)) click 1 \
    mousemove 1020 760 key ctrl+s
poll 10 titled "Save Image" || fail "Ctrl+S did not show the Save Image dialog"
xdotool windowfocus --sync "$(titled "Save Image")" type --delay 5 "$out/painted.ppm"
xdotool key Return
poll 10 titled "painted\.ppm" || fail "saving as painted.ppm did not retitle the window"
read -r left top right bottom < <(pixels changed "$out/painted.ppm" 160 120) ||
    fail "the saved picture was not painted, or has another size"
((left <= 80 && 80 <= right && top <= 60 && 60 <= bottom)) ||
    fail "the stamp landed at ($left,$top)-($right,$bottom), not around the click at (80,60)"
xdotool windowfocus --sync "$main" key ctrl+q
poll 15 eval '! kill -0 $zarn_pid' || fail "Ctrl+Q did not end zarn"
status=0 && wait "$zarn_pid" || status=$?
((status == 0)) || fail "zarn exited with status $status"
echo "PASS: opened '$picture' from the command line, showed it, painted, saved, quit with status 0"
