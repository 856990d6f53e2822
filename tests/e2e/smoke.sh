#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Starts the real program under its own X server, checks that the main window
# appears only after the splash pause, photographs it and quits with Ctrl+Q.
#   smoke.sh <path-to-zarn> <output-dir>
# Optional: ZARN_SCREENSHOT=<image file> opens that picture through File > Open
# before the photograph is taken (used for the README's screenshot).
# Exits 77 (skipped) when Xvfb, xdotool or python3 are not installed.
set -euo pipefail

zarn="${1:?usage: smoke.sh <path-to-zarn> <output-dir>}"
outdir="${2:?usage: smoke.sh <path-to-zarn> <output-dir>}"
readonly splash_pause=2.5 window_width=800 window_height=500

for tool in Xvfb xdotool python3; do
    if ! command -v "$tool" >/dev/null 2>&1; then
        echo "SKIP: $tool is not installed (Debian: xvfb, xdotool, python3)"
        exit 77
    fi
done

mkdir -p "$outdir"
work="$(mktemp -d)"
xvfb_pid=""
zarn_pid=""

cleanup() {
    [ -n "$zarn_pid" ] && kill "$zarn_pid" 2>/dev/null || true
    [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null || true
    [ -n "$xvfb_pid" ] && wait "$xvfb_pid" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT INT TERM

fail() {
    echo "FAIL: $*" >&2
    exit 1
}

now() { date +%s.%N; }

# Runs a shell condition until it holds or the given number of seconds pass.
wait_until() {
    local seconds="$1"
    shift
    local deadline
    deadline=$(python3 -c "import time; print(time.time() + $seconds)")
    until "$@"; do
        python3 -c "import sys, time; sys.exit(time.time() > $deadline)" || return 1
        sleep 0.05
    done
}

# Xvfb picks a free display itself and reports its number on a descriptor.
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$work/display" 2>"$work/xvfb.log" &
xvfb_pid=$!
wait_until 20 test -s "$work/display" || fail "Xvfb did not start: $(cat "$work/xvfb.log")"
export DISPLAY=":$(head -n1 "$work/display")"
unset WAYLAND_DISPLAY QT_QPA_PLATFORM
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=0}"

started=$(now)
"$zarn" >"$work/zarn.log" 2>&1 &
zarn_pid=$!

# The splash and the main window share the process; the main window is the
# one of the expected size.
find_main_window() {
    local id
    for id in $(xdotool search --onlyvisible --pid "$zarn_pid" 2>/dev/null); do
        eval "$(xdotool getwindowgeometry --shell "$id")"
        if [ "$WIDTH" = "$window_width" ] && [ "$HEIGHT" = "$window_height" ]; then
            echo "$id"
            return 0
        fi
    done
    return 1
}

timeout 30 xdotool search --sync --onlyvisible --pid "$zarn_pid" >/dev/null ||
    fail "no window of zarn appeared"
wait_until 30 find_main_window >/dev/null || fail "the ${window_width}x${window_height} main window never appeared"
appeared=$(now)
window=$(find_main_window)
elapsed=$(python3 -c "print(f'{$appeared - $started:.2f}')")
python3 -c "import sys; sys.exit(not $elapsed >= $splash_pause)" ||
    fail "main window appeared after ${elapsed}s, before the ${splash_pause}s splash pause"
echo "main window $window appeared after ${elapsed}s"

splash_gone() { [ "$(xdotool search --onlyvisible --pid "$zarn_pid" 2>/dev/null | wc -l)" -eq 1 ]; }
wait_until 10 splash_gone || fail "the splash did not close"
xdotool windowfocus --sync "$window"

if [ -n "${ZARN_SCREENSHOT:-}" ]; then
    picture="$(realpath "$ZARN_SCREENSHOT")"
    xdotool key --clearmodifiers ctrl+o
    timeout 20 xdotool search --sync --onlyvisible --name '^Open Image$' >/dev/null ||
        fail "File > Open did not show its dialog"
    xdotool type --delay 5 "$picture"
    xdotool key Return
    timeout 20 xdotool search --sync --onlyvisible --name "^$(basename "$picture")\$" >/dev/null ||
        fail "opening $picture did not set the title"
    xdotool windowfocus --sync "$window"
    xdotool key b
    xdotool mousemove --window "$window" 560 380
fi

# Let the window finish painting before the photograph; nothing is checked
# against time here.
sleep 0.5
eval "$(xdotool getwindowgeometry --shell "$window")"
python3 - "$X" "$Y" "$WIDTH" "$HEIGHT" "$outdir/main-window.png" <<'PYTHON'
# Grabs a screen rectangle over the X11 protocol (GetImage) and writes a PNG,
# using only the standard library.
import os, socket, struct, sys, zlib

x, y, width, height = map(int, sys.argv[1:5])
target = sys.argv[5]
display = int(os.environ["DISPLAY"].lstrip(":").split(".")[0])

conn = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
conn.connect(f"/tmp/.X11-unix/X{display}")

def receive(count):
    data = bytearray()
    while len(data) < count:
        chunk = conn.recv(count - len(data))
        if not chunk:
            sys.exit("X server closed the connection")
        data += chunk
    return bytes(data)

conn.sendall(struct.pack("<BxHHHHxx", 0x6C, 11, 0, 0, 0))
status, _, _, _, extra = struct.unpack("<BBHHH", receive(8))
setup = receive(extra * 4)
if status != 1:
    sys.exit("X server refused the connection")
vendor_length, = struct.unpack_from("<H", setup, 16)
screens, format_count, byte_order = struct.unpack_from("<BBB", setup, 20)
formats = 32 + (vendor_length + 3) // 4 * 4
bits_per_pixel = {}
for i in range(format_count):
    depth, bpp = struct.unpack_from("<BB", setup, formats + 8 * i)
    bits_per_pixel[depth] = bpp
root, = struct.unpack_from("<I", setup, formats + 8 * format_count)

conn.sendall(struct.pack("<BBHIhhHHI", 73, 2, 5, root, x, y, width, height, 0xFFFFFFFF))
header = receive(32)
if header[0] != 1:
    sys.exit(f"GetImage failed with X error {header[1]}")
depth = header[1]
length, = struct.unpack_from("<I", header, 4)
pixels = receive(length * 4)
if bits_per_pixel.get(depth) != 32 or byte_order != 0:
    sys.exit(f"unsupported screen format: depth {depth}, byte order {byte_order}")

stride = width * 4
rows = bytearray()
for row in range(height):
    line = pixels[row * stride:(row + 1) * stride]
    rgb = bytearray(width * 3)
    rgb[0::3] = line[2::4]
    rgb[1::3] = line[1::4]
    rgb[2::3] = line[0::4]
    rows += b"\0" + rgb

def chunk(kind, data):
    body = kind + data
    return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))

with open(target, "wb") as out:
    out.write(b"\x89PNG\r\n\x1a\n")
    out.write(chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)))
    out.write(chunk(b"IDAT", zlib.compress(bytes(rows), 9)))
    out.write(chunk(b"IEND", b""))
PYTHON
[ -s "$outdir/main-window.png" ] || fail "no screenshot written"
echo "screenshot: $outdir/main-window.png"

xdotool key --clearmodifiers ctrl+q
quit_pid=$zarn_pid
exited() { ! kill -0 "$quit_pid" 2>/dev/null; }
wait_until 15 exited || fail "Ctrl+Q did not end the program"
status=0
wait "$quit_pid" || status=$?
zarn_pid=""
[ "$status" -eq 0 ] || fail "zarn exited with status $status: $(cat "$work/zarn.log")"
echo "PASS: window after ${elapsed}s, screenshot taken, Ctrl+Q exit status 0"
