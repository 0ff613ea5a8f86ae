#!/usr/bin/env bash
# Screenshots of a fill-in-the-blank item with a mask and of an essay item, half answered, as a
# participant sees them in a real window under Xvfb:  docs/make_typed_screenshots.sh [BUILD_DIR]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../build}" && pwd)
. "$here/private_display.sh" 1024x768
"$build/src/tools/corvane-def" create "$work/shots.que" "$here/typed-screenshots.csv"
cat >"$work/script.txt" <<'SCRIPT'
wait 1500
type 55512
wait 2500
type 34
key Enter
wait 1000
type It was last summer, on a walk by the lake early in the morning.
key Space
key Enter
type Nobody else was there. I sat on a bench and watched the water for a long time
wait 3000
key Escape
SCRIPT
"$build/src/app/corvane" --run "$work/shots.que" --subject demo --condition 1 \
    --script "$work/script.txt" --message-log "$work/messages.log" --timeout 60 &
run=$!
sleep 2.8
"$build/bench/screen_grab" "$here/fillblank.png"
sleep 3.5
"$build/bench/screen_grab" "$here/essay.png"
wait "$run"
