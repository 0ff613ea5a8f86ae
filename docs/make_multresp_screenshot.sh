#!/usr/bin/env bash
# A screenshot of a multiple response item with two options chosen, as a participant sees it in
# a real window under Xvfb:  docs/make_multresp_screenshot.sh [BUILD_DIR]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../build}" && pwd)
. "$here/private_display.sh" 1024x768
"$build/src/tools/corvane-def" create "$work/shots.que" "$here/multresp-screenshot.csv"
printf 'wait 1000\nclick chkResponse(2)\nwait 300\nclick chkResponse(3)\nwait 3000\nclick Continue\n' \
    >"$work/script.txt"
"$build/src/app/corvane" --run "$work/shots.que" --subject demo --condition 1 \
    --script "$work/script.txt" --message-log "$work/messages.log" --timeout 60 &
run=$!
sleep 3
"$build/bench/screen_grab" "$here/multresp.png"
wait "$run"
