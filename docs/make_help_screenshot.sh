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
work=$(mktemp -d)
trap 'kill ${app:-} ${wm:-} ${xvfb:-} 2>/dev/null || true; rm -rf "$work"' EXIT

Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp 3>"$work/display" >/dev/null 2>&1 &
xvfb=$!
for _ in $(seq 300); do [ -s "$work/display" ] && break; sleep 0.1; done
export DISPLAY=:$(cat "$work/display") XDG_DATA_HOME=$work/xdg XDG_CONFIG_HOME=$work/config
openbox --sm-disable >/dev/null 2>&1 &
wm=$!
# No browser to be had: an empty PATH has no xdg-open.
mkdir "$work/no-browser"
PATH=$work/no-browser "$corvane" >"$work/corvane.log" 2>&1 &
app=$!
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
