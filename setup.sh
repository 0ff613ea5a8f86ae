#!/usr/bin/env bash
# Sets up, builds and runs Corvane on Debian 12.
#   ./setup.sh run    install what is missing, build, and start Corvane's main job
#   ./setup.sh test   install what is missing, build, and run the tests
set -euo pipefail
cd "$(dirname "$0")"

PACKAGES=(g++ cmake ninja-build pkg-config qt6-base-dev libsqlite3-dev libxcb1-dev qt6-multimedia-dev
    gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-plugins-bad gstreamer1.0-libav
    qt6-webengine-dev qt6-pdf-dev qt6-serialport-dev
    libreoffice-writer libreoffice-calc libreoffice-impress python3-uno
    xvfb xauth x11-xkb-utils)
# Only the tests need these: the tools that make their inputs, drive windows and read the data back.
TEST_PACKAGES=(strace xdotool socat pulseaudio pulseaudio-utils sox espeak-ng gstreamer1.0-tools
    openbox pspp r-base-core)
BUILD_DIR=${CORVANE_BUILD_DIR:-build}

install_missing() {
    local missing=()
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" \
            || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "Installing: ${missing[*]}"
    local sudo=()
    [ "$(id -u)" -eq 0 ] || sudo=(sudo)
    "${sudo[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get -o DPkg::Lock::Timeout=900 install -y -qq --no-install-recommends \
        "${missing[@]}"
}

build() {
    cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVANE_WERROR=ON >/dev/null
    cmake --build "$BUILD_DIR"
}

case "${1:-run}" in
run)
    install_missing "${PACKAGES[@]}"
    build
    # The demo experiment runs from a folder of its own, where its data folder appears.
    mkdir -p demo-run
    cp -n "$BUILD_DIR"/share/corvane/demo/*.exp "$BUILD_DIR"/share/corvane/demo/*.que demo-run/
    if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
        exec "$BUILD_DIR/src/app/corvane" demo-run/demo.exp
    fi
    echo "No display: running the demo experiment unattended (subject demo, condition 1)."
    status=0
    "$BUILD_DIR/src/app/corvane" --run demo-run/demo.exp --subject demo --condition 1 \
        --script resources/demo/demo_script.txt || status=$?
    echo "The demo run ended with status $status; its data are in $(pwd)/demo-run/data"
    ;;
test)
    install_missing "${PACKAGES[@]}" "${TEST_PACKAGES[@]}"
    build
    QT_QPA_PLATFORM=offscreen ctest --test-dir "$BUILD_DIR" --output-on-failure -j "$(nproc)"
    ;;
*)
    echo "usage: $0 run|test" >&2
    exit 2
    ;;
esac
