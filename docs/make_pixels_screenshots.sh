#!/usr/bin/env bash
# The location and sizing screens, opened from the launcher's Help menu with the keyboard in a
# real window under Xvfb, and saved as docs/pixels-location.png and docs/pixels-sizing.png.
#   docs/make_pixels_screenshots.sh [BUILD_DIR]        (needs xvfb, xauth, openbox and xdotool)
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../build}" && pwd)
corvane=$build/src/app/corvane
work=$(mktemp -d)
trap 'kill ${launcher:-} ${wm:-} ${xvfb:-} 2>/dev/null || true; rm -rf "$work"' EXIT

Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$work/display" >/dev/null 2>&1 &
xvfb=$!
for _ in $(seq 50); do [ -s "$work/display" ] && break; sleep 0.1; done
export DISPLAY=:$(cat "$work/display") XDG_DATA_HOME=$work/xdg XDG_CONFIG_HOME=$work/config

# A window manager, so that the launcher takes the keyboard as it would on a desktop.
openbox >/dev/null 2>&1 &
wm=$!
sleep 1
"$corvane" >/dev/null 2>&1 &
launcher=$!
sleep 4 # the splash, then the launcher

shoot() { # MNEMONIC FILE
    xdotool key alt+h sleep 0.5 key "$1" sleep 1.5
    "$build/bench/screen_grab" "$here/$2"
    xdotool key Escape sleep 0.5
}
shoot l pixels-location.png
shoot s pixels-sizing.png
echo "saved $here/pixels-location.png and $here/pixels-sizing.png"
