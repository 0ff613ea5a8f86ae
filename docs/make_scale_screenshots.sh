#!/usr/bin/env bash
# Screenshots of a vertical and a horizontal scale item, as a participant sees them in a real
# window under Xvfb:  docs/make_scale_screenshots.sh [BUILD_DIR]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../build}" && pwd)
. "$here/private_display.sh" 1024x768
"$build/src/tools/corvane-def" create "$work/shots.que" "$here/scale-screenshots.csv"
printf 'wait 2500\nkey 3\nwait 3000\nkey 4\n' >"$work/script.txt"
"$build/src/app/corvane" --run "$work/shots.que" --subject demo --condition 1 \
    --script "$work/script.txt" --message-log "$work/messages.log" --timeout 60 &
run=$!
sleep 1.8
"$build/bench/screen_grab" "$here/scale-vertical.png"
sleep 2.5
"$build/bench/screen_grab" "$here/scale-horizontal.png"
wait "$run"
