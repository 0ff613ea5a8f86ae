#!/usr/bin/env bash
# A screenshot of a multiple response item with two options chosen, as a participant sees it in
# a real window under Xvfb:  docs/make_multresp_screenshot.sh [BUILD_DIR]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../build}" && pwd)
work=$(mktemp -d)
trap 'kill ${xvfb:-} 2>/dev/null || true; rm -rf "$work"' EXIT
# A free display: Xvfb writes the number it took.
Xvfb -displayfd 1 -screen 0 1024x768x24 -nolisten tcp >"$work/display" 2>/dev/null &
xvfb=$!
for _ in $(seq 50); do [ -s "$work/display" ] && break; sleep 0.1; done
export DISPLAY=:$(head -n1 "$work/display") XDG_DATA_HOME=$work/xdg XDG_CONFIG_HOME=$work/config
"$build/src/tools/corvane-def" create "$work/shots.que" "$here/multresp-screenshot.csv"
printf 'wait 1000\nclick chkResponse(2)\nwait 300\nclick chkResponse(3)\nwait 3000\nclick Continue\n' \
    >"$work/script.txt"
"$build/src/app/corvane" --run "$work/shots.que" --subject demo --condition 1 \
    --script "$work/script.txt" --message-log "$work/messages.log" --timeout 60 &
run=$!
sleep 3
"$build/bench/screen_grab" "$here/multresp.png"
wait "$run"
