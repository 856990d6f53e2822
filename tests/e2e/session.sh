#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# A whole editing session with the real program on its own X server, driven
# the way a person would: open a photo through the file dialog, paint a
# stroke, select a rectangle, invert it, undo and redo, add a magic-wand
# region, run Zarnify through its dialog, save through the file dialog, quit.
# The saved picture is checked pixel by pixel and every step leaves a
# screenshot in <outdir>/session.
#   bash session.sh <path-to-zarn> <outdir>
# With ZARN_UPDATE_SCREENSHOT=1 the README picture docs/screenshot.png is
# replaced by the main window as it looks after Zarnify.
set -euo pipefail

zarn="$(realpath "$1")"
out="$2/session"
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
repo="$(cd "$here/../.." && pwd)"
helper=(python3 "$here/session_helper.py")

xvfb_pid=""
zarn_pid=""
step=0
shots=()

screen() { echo "$out/fb/Xvfb_screen0"; }

fail() {
    echo "e2e_session: FAILED: $*" >&2
    [ -f "$(screen)" ] && shot failure
    [ -s "$out/zarn.log" ] && sed 's/^/  zarn: /' "$out/zarn.log" >&2
    exit 1
}

cleanup() {
    local status=$?
    [ -n "$zarn_pid" ] && kill "$zarn_pid" 2>/dev/null
    [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null
    wait 2>/dev/null
    for name in "${shots[@]}"; do
        "${helper[@]}" shot "$out/$name.xwd" "$out/$name.png" && rm -f "$out/$name.xwd"
    done
    ((status == 0)) || echo "e2e_session: screenshots and log in $out" >&2
}
trap cleanup EXIT

# Polls until the command succeeds; X gives no event for "the program has
# repainted", so the screen itself is what is waited on.
wait_for() {
    local what="$1" limit="$2"
    shift 2
    local deadline=$((SECONDS + limit))
    until "$@" >/dev/null 2>&1; do
        ((SECONDS < deadline)) || fail "timed out after ${limit}s waiting for $what"
        kill -0 "$zarn_pid" 2>/dev/null || fail "zarn died while waiting for $what"
        sleep 0.1
    done
}

shot() {
    step=$((step + 1))
    local name
    name="$(printf '%02d-%s' "$step" "$1")"
    cp "$(screen)" "$out/$name.xwd"
    shots+=("$name")
}

# Visible top-level window of zarn with the given size, if any.
window_sized() {
    local id geometry
    for id in $(xdotool search --onlyvisible --class zarn 2>/dev/null); do
        geometry="$(xdotool getwindowgeometry --shell "$id")"
        if grep -qx "WIDTH=$1" <<<"$geometry" && grep -qx "HEIGHT=$2" <<<"$geometry"; then
            echo "$id"
            return 0
        fi
    done
    return 1
}

titled() { xdotool search --onlyvisible --name "^$1\$"; }

menu_open() {
    local id
    for id in $(xdotool search --onlyvisible --class zarn 2>/dev/null); do
        xprop -id "$id" _NET_WM_WINDOW_TYPE | grep -q DROPDOWN_MENU && return 0
    done
    return 1
}
untitled() { ! titled "$1"; }
shows() { "${helper[@]}" expect "$(screen)" "$out/photo.png" "$photo_x" "$photo_y" "$1"; }

# Keys go to the window with the X input focus; with no window manager
# nothing hands it back to the main window when a dialog closes.
focus_main() { xdotool windowfocus --sync "$main"; }

# Moves the pointer to an image pixel of the photo, shown at 1:1.
move() { xdotool mousemove $((photo_x + $1)) $((photo_y + $2)); }

# The pointer stays off the picture while the screen is compared, because the
# software cursor and the brush preview are drawn over it. The preview stays
# where the pointer last was over the canvas, so the pointer rests on the
# canvas's grey surround, below and left of the picture.
park_pointer() { move -100 280; }

# --- set up --------------------------------------------------------------

rm -rf "$out"
mkdir -p "$out/fb" "$out/runtime" "$out/config" "$out/data" "$out/cache"
chmod 700 "$out/runtime"
"${helper[@]}" photo "$out"

Xvfb -displayfd 3 -screen 0 1024x768x24 -fbdir "$out/fb" -nolisten tcp \
    3>"$out/display" >"$out/xvfb.log" 2>&1 &
xvfb_pid=$!
deadline=$((SECONDS + 15))
until [ -s "$out/display" ]; do
    kill -0 "$xvfb_pid" 2>/dev/null || fail "Xvfb did not start: $(cat "$out/xvfb.log")"
    ((SECONDS < deadline)) || fail "Xvfb did not report its display"
    sleep 0.05
done
DISPLAY=":$(head -n1 "$out/display")"
export DISPLAY

# A clean desktop: Qt's own file dialog, no settings from the user's home.
unset QT_QPA_PLATFORMTHEME QT_STYLE_OVERRIDE XDG_CURRENT_DESKTOP DESKTOP_SESSION
export QT_QPA_PLATFORM=xcb
export XDG_RUNTIME_DIR="$out/runtime" XDG_CONFIG_HOME="$out/config"
export XDG_DATA_HOME="$out/data" XDG_CACHE_HOME="$out/cache"
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=0}"

# --- the session ---------------------------------------------------------

(cd "$out" && exec "$zarn") >"$out/zarn.log" 2>&1 &
zarn_pid=$!

wait_for "the splash picture" 20 window_sized 650 300
shot splash
wait_for "the 800 x 500 main window after the splash" 20 window_sized 800 500
wait_for "the splash to close" 10 eval '! window_sized 650 300'
main="$(window_sized 800 500)"
focus_main
shot main-window

xdotool key ctrl+o
wait_for "the Open Image dialog" 10 titled "Open Image"
xdotool windowfocus --sync "$(titled "Open Image")"
xdotool type --delay 5 "$out/photo.tiff"
shot open-dialog
xdotool key Return
wait_for "the photo's name in the title" 10 titled photo.tiff
xdotool mousemove 1010 750
wait_for "the photo on the screen" 10 "${helper[@]}" locate "$(screen)" "$out/photo.png"
read -r photo_x photo_y < <("${helper[@]}" locate "$(screen)" "$out/photo.png")
focus_main
shot photo-opened

xdotool key b
move 40 200
xdotool mousedown 1
for x in $(seq 50 10 140); do
    move "$x" 200
done
xdotool mouseup 1
park_pointer
wait_for "the dark green brush stroke" 10 shows stroke
shot brush-stroke

xdotool key m
move 60 50
xdotool mousedown 1
move 120 100
move 180 140
xdotool mouseup 1
park_pointer
wait_for "the marquee's outline" 10 shows marquee
shot marquee

xdotool key ctrl+i
wait_for "Zarnert to invert the selected rectangle" 10 shows inverted
shot zarnert

xdotool key ctrl+z
wait_for "Undo to bring back the rectangle's photo" 10 shows plain
shot undo

xdotool key ctrl+r
wait_for "Redo to invert the rectangle again" 10 shows inverted
shot redo

xdotool key w
move 270 35
xdotool keydown shift click 1 keyup shift
park_pointer
wait_for "the wand region added to the marquee" 10 shows wand
shot magic-wand

# Filters > Zarnify from the keyboard: Alt enters the menu bar, two steps
# right reach Filters, Down opens it on "Last", three more reach Zarnify.
xdotool key alt Right Right Down
wait_for "the Filters menu to open" 10 menu_open
xdotool key Down Down Down
shot filters-menu
xdotool key Return
wait_for "the Zarnify dialog" 10 titled Zarnify
shot zarnify-dialog
xdotool key Return
wait_for "the Zarnify dialog to close" 10 untitled Zarnify
wait_for "Zarnify to change the wand region" 20 shows zarnified
focus_main
shot zarnified
xdotool mousemove --sync 1010 750
window_shot="$out/window.png"
cp "$(screen)" "$out/window.xwd"
"${helper[@]}" shot "$out/window.xwd" "$window_shot" 0,0,800,500
rm -f "$out/window.xwd"

saved="$out/session.png"
xdotool key ctrl+s
wait_for "the Save Image dialog" 10 titled "Save Image"
xdotool windowfocus --sync "$(titled "Save Image")"
xdotool type --delay 5 "$saved"
shot save-dialog
xdotool key Return
wait_for "the saved file's name in the title" 10 titled session.png
[ -s "$saved" ] || fail "the title says session.png but $saved was not written"
focus_main
shot saved

xdotool key ctrl+q
deadline=$((SECONDS + 15))
while kill -0 "$zarn_pid" 2>/dev/null; do
    ((SECONDS < deadline)) || fail "zarn did not quit after Ctrl+Q"
    sleep 0.1
done
status=0
wait "$zarn_pid" || status=$?
zarn_pid=""
((status == 0)) || fail "zarn exited with status $status after Ctrl+Q"

"${helper[@]}" check "$saved" "$out/photo.png" || fail "the saved picture is wrong"

if [ "${ZARN_UPDATE_SCREENSHOT:-0}" = 1 ]; then
    cp "$window_shot" "$repo/docs/screenshot.png"
    echo "e2e_session: updated $repo/docs/screenshot.png"
fi
echo "e2e_session: passed in ${SECONDS}s; screenshots in $out"
