#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Zarn's set-up script for a fresh Debian 12 machine.
#   ./zarn.sh run    install what is missing, build, and start Zarn
#   ./zarn.sh test   install what is missing, build, and run every test
# Safe to run again: it installs only missing packages and rebuilds incrementally.
set -euo pipefail

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
build="$here/build"

# Build tools, Qt 6 and its image-format plug-ins (TIFF, WebP, ... and SVG),
# and the X tools that the end-to-end checks drive the real window with.
packages=(cmake g++ make pkgconf qt6-base-dev libgl-dev qt6-image-formats-plugins libqt6svg6
          xvfb xauth xdotool x11-utils desktop-file-utils appstream python3)

install_missing() {
    local missing=()
    for p in "${packages[@]}"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "ok installed" || missing+=("$p")
    done
    ((${#missing[@]})) || return 0
    echo "Installing: ${missing[*]}"
    local sudo=()
    [ "$(id -u)" -eq 0 ] || sudo=(sudo)
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

build_all() {
    cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE="${ZARN_BUILD_TYPE:-RelWithDebInfo}" \
        ${ZARN_CMAKE_ARGS:-}
    cmake --build "$build" -j"$(nproc)"
}

case "${1:-}" in
run)
    install_missing
    build_all
    if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
        echo "zarn: no display (DISPLAY is not set); cannot open the window." >&2
        exit 1
    fi
    exec "$build/src/zarn" "${@:2}"
    ;;
test)
    install_missing
    build_all
    cd "$build"
    exec ctest --output-on-failure -j"$(nproc)"
    ;;
*)
    echo "usage: $0 run|test" >&2
    exit 2
    ;;
esac
