#!/usr/bin/env bash
# Screenshots of a vertical and a horizontal scale item, as a participant sees them in a real
# window under Xvfb:  docs/make_scale_screenshots.sh [BUILD_DIR]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../build}" && pwd)
work=$(mktemp -d)
trap 'kill ${xvfb:-} 2>/dev/null || true; rm -rf "$work"' EXIT
Xvfb :95 -screen 0 1024x768x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
sleep 1
export DISPLAY=:95 XDG_DATA_HOME=$work/xdg XDG_CONFIG_HOME=$work/config
"$build/src/tools/corvane-def" create "$work/shots.que" "$here/scale-screenshots.csv"
printf 'wait 2500\nkey 3\nwait 3000\nkey 4\n' >"$work/script.txt"
"$build/src/app/corvane" --run "$work/shots.que" --subject demo --condition 1 \
    --script "$work/script.txt" --message-log "$work/messages.log" --timeout 60 &
sleep 1.8
"$build/bench/screen_grab" "$here/scale-vertical.png"
sleep 2.5
"$build/bench/screen_grab" "$here/scale-horizontal.png"
wait
