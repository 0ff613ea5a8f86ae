#!/usr/bin/env bash
# The help in Corvane's own window, as a user sees it where no web browser can be started:
# the launcher runs with no xdg-open on its PATH, Help > The Parameter Language is chosen with
# the mouse under openbox, and the window that opens is taken: docs/help-window.png.
#   docs/make_help_screenshot.sh [BUILD_DIR]    (needs xvfb, openbox and xdotool)
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../build}" && pwd)
corvane=$build/src/app/corvane
grab=$build/bench/screen_grab
. "$here/private_display.sh" 1024x768 openbox
# No browser to be had: an empty PATH has no xdg-open.
mkdir "$work/no-browser"
PATH=$work/no-browser "$corvane" >"$work/corvane.log" 2>&1 &
to_stop+=($!)
launcher=$(xdotool search --sync --onlyvisible --name '^Corvane$' | head -n 1)
sleep 8 # the splash gives way to the launcher

click() { xdotool mousemove "$1" "$2" sleep 0.4 click 1 sleep "${3:-0.5}"; }

# The launcher fills the screen; its Help menu is the fourth.
xdotool windowactivate --sync "$launcher"
click 188 27                  # Help
click 270 160 2               # The Parameter Language
help=$(timeout 30 xdotool search --sync --onlyvisible --name '^Corvane help: the parameter language$' |
    head -n 1)
click 440 228 1               # the page's own link to its table of letters
xdotool mousemove 1000 740 sleep 0.5
"$grab" "$here/help-window.png"
echo "docs/help-window.png: the help window on the parameter language"
