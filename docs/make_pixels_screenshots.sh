#!/usr/bin/env bash
# The location and sizing screens, opened from the launcher's Help menu with the keyboard in a
# real window under Xvfb, and saved as docs/pixels-location.png and docs/pixels-sizing.png.
#   docs/make_pixels_screenshots.sh [BUILD_DIR]        (needs xvfb, xauth, openbox and xdotool)
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../build}" && pwd)
corvane=$build/src/app/corvane
. "$here/private_display.sh" 1280x800 openbox
"$corvane" >/dev/null 2>&1 &
to_stop+=($!)
sleep 4 # the splash, then the launcher

shoot() { # MNEMONIC FILE
    xdotool key alt+h sleep 0.5 key "$1" sleep 1.5
    "$build/bench/screen_grab" "$here/$2"
    xdotool key Escape sleep 0.5
}
shoot l pixels-location.png
shoot s pixels-sizing.png
echo "saved $here/pixels-location.png and $here/pixels-sizing.png"
