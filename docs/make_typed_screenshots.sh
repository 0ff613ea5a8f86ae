#!/usr/bin/env bash
# Screenshots of a fill-in-the-blank item with a mask and of an essay item, half answered, as a
# participant sees them in a real window under Xvfb:  docs/make_typed_screenshots.sh [BUILD_DIR]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../build}" && pwd)
work=$(mktemp -d)
trap 'kill ${xvfb:-} 2>/dev/null || true; rm -rf "$work"' EXIT
# A free display, chosen by the server itself.
exec 3<> "$work/display"
Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
for _ in $(seq 50); do [ -s "$work/display" ] && break; sleep 0.1; done
export DISPLAY=:$(head -1 "$work/display") XDG_DATA_HOME=$work/xdg XDG_CONFIG_HOME=$work/config
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
