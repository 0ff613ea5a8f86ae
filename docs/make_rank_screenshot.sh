#!/usr/bin/env bash
# A ranking item in a real window under Xvfb, worked with a real mouse (xdotool):
#   1. docs/rank.png: five labels, one dragged across the bar by the mouse, two by the script;
#   2. a check that drag and drop works: two labels are dragged by the mouse into the reverse of
#      the order they stood in, and the ranks stored must be the reverse of those that the same
#      draw gives when the labels are moved straight across.
#   docs/make_rank_screenshot.sh [BUILD_DIR]        (needs xvfb, xauth and xdotool)
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../build}" && pwd)
corvane=$build/src/app/corvane
def=$build/src/tools/corvane-def
# A display of 1024 by 768: the form's layout, and so the places below, follow from that.
. "$here/private_display.sh" 1024x768

# The labels stand in a column centred in the left half (x 263) around the middle (y 362);
# Continue is in the bar at the bottom right.
centre_x=263
centre_y=362
continue_x=850
continue_y=746

drag() { # FROM_X FROM_Y TO_X TO_Y, in steps as a hand moves
    xdotool mousemove "$1" "$2" sleep 0.2 mousedown 1 sleep 0.1
    for step in 1 2 3 4 5 6 7 8; do
        xdotool mousemove $(($1 + ($3 - $1) * step / 8)) $(($2 + ($4 - $2) * step / 8)) sleep 0.05
    done
    xdotool sleep 0.1 mouseup 1 sleep 0.3
}

# 1. The screenshot.
"$def" create "$work/shots.que" "$here/rank-screenshot.csv"
printf 'wait 1200\ndrag Label1(1) 470 -40\ndrag Label1(5) 470 -20\nwait 30000\n' >"$work/shots.txt"
"$corvane" --run "$work/shots.que" --subject demo --condition 1 --seed 3 \
    --script "$work/shots.txt" --message-log "$work/shots.log" --timeout 60 &
run=$!
sleep 2.5
drag $centre_x $centre_y 700 250
"$build/bench/screen_grab" "$here/rank.png"
xdotool key ctrl+alt+Right
wait $run || true

# 2. The check. First the labels moved straight across by the script: the ranks of the order
# that the draw of seed 5 gives them.
"$def" create "$work/check.que" "$here/rank-mouse-check.csv"
printf 'wait 200\ndrag Label1(1) 500 0\ndrag Label1(2) 500 0\nclick Continue\nclick Continue\n' \
    >"$work/straight.txt"
mkdir "$work/straight"
cp "$work/check.que" "$work/straight/"
"$corvane" --run "$work/straight/check.que" --subject s1 --condition 1 --seed 5 \
    --virtual-clock --script "$work/straight.txt" --message-log "$work/straight.log" \
    --timeout 60 >/dev/null
straight=$(sed -n 3p "$work/straight/data/byquestionnaire/check_que.txt" | tr -d '\r')

# Then by the mouse: the lower label to the top of the right half, the upper one below it.
printf 'wait 30000\n' >"$work/mouse.txt"
mkdir "$work/mouse"
cp "$work/check.que" "$work/mouse/"
"$corvane" --run "$work/mouse/check.que" --subject s1 --condition 1 --seed 5 \
    --script "$work/mouse.txt" --message-log "$work/mouse.log" --timeout 60 &
run=$!
sleep 2.5
drag $centre_x $((centre_y + 5)) 700 200
drag $centre_x $((centre_y - 5)) 700 300
xdotool mousemove $continue_x $continue_y click 1 sleep 0.5 click 1
wait $run
mouse=$(sed -n 3p "$work/mouse/data/byquestionnaire/check_que.txt" | tr -d '\r')
times=$(sed -n 4p "$work/mouse/data/byquestionnaire/check_que.txt" | tr -d '\r')

reversed=$(echo "$straight" | awk -F, '{print $2 "," $1}')
echo "ranks moved straight across: $straight; by the mouse: $mouse; first touches: $times"
if [ "$mouse" != "$reversed" ] || ! grep -q "Is this the order" "$work/mouse.log" ||
    grep -q "drag every answer" "$work/mouse.log"; then
    echo "drag and drop with the mouse: FAILED" >&2
    cat "$work/mouse.log" >&2
    exit 1
fi
t1=${times%%,*}
t2=${times##*,}
if [ "$t1" -le 0 ] || [ "$t2" -le 0 ] || [ "$t2" -ge "$t1" ]; then
    echo "drag and drop with the mouse: the first touches are wrong ($times)" >&2
    exit 1
fi
echo "drag and drop with the mouse: ok"
