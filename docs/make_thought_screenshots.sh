#!/usr/bin/env bash
# Screenshots of a thought listing with two entries made and a third being typed, of the rating
# of the second entry, and of the on-line rating's bar over the instruction that follows it, as a
# participant sees them in real windows under Xvfb:  docs/make_thought_screenshots.sh [BUILD_DIR]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../build}" && pwd)
. "$here/private_display.sh" 1024x768
# No joystick: the bar is worked by the arrow keys (the run says so once, in its message log).
mkdir -p "$work/config/Corvane"
printf '[Settings]\nJoystickDevice=%s\n' "$work/no-joystick" >"$work/config/Corvane/Corvane.ini"
"$build/src/tools/corvane-def" create "$work/shots.que" "$here/thought-screenshots.csv"
cat >"$work/script.txt" <<'SCRIPT'
wait 800
type Pupils would be too tired to learn in the last hour
key Enter
wait 300
type More time for sports and music
key Enter
wait 300
type Parents who work late would
wait 2500
type  not have to worry
key Enter
wait 1500
key 2
wait 2500
key 4
wait 1000
key 1
wait 800
key Right
key Right
key Right
key Right
key Right
key Right
key Right
key Right
key Right
key Right
key Right
key Right
wait 3000
key Space
SCRIPT
"$build/src/app/corvane" --run "$work/shots.que" --subject demo --condition 1 \
    --script "$work/script.txt" --message-log "$work/messages.log" --timeout 60 &
run=$!
sleep 2.6
"$build/bench/screen_grab" "$here/thought-listing.png"
sleep 3.2
"$build/bench/screen_grab" "$here/thought-rating.png"
sleep 4.0
"$build/bench/screen_grab" "$here/online-rating.png"
wait "$run"
cat "$work/messages.log"
