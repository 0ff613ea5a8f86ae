#!/usr/bin/env bash
# The reaction-time benchmark: Corvane runs 200 scale items in a real window under Xvfb, the
# black-box tool watches the screen centre and presses the key, and the recorded reaction times
# are compared with the true ones.
#
#   bench/timing/run_timing_benchmark.sh [BUILD_DIR]
# Needs: xvfb, libx11-dev, libxtst-dev, libxext-dev, python3 (Debian packages).
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=$(cd "${1:-$root/build}" && pwd)
# The black-box tool of the development tools: BLACKBOX_DIR, or the shared folder beside the tree.
tools=${BLACKBOX_DIR:-}
for candidate in "$root/../shared/tools/blackbox" "$root/../../shared/tools/blackbox"; do
    [ -z "$tools" ] && [ -f "$candidate/blackbox.c" ] && tools=$(cd "$candidate" && pwd)
done
[ -n "$tools" ] || { echo "blackbox.c not found: set BLACKBOX_DIR" >&2; exit 1; }
work=$(mktemp -d)
trap 'kill ${xvfb:-} ${corvane:-} 2>/dev/null || true; rm -rf "$work"' EXIT

cc -O2 -std=c11 -o "$work/blackbox" "$tools/blackbox.c" -lX11 -lXtst -lXext -lpthread -lm
"$build/bench/make_timing_study" "$work/study" 200 400

display=:${BENCH_DISPLAY:-97}
Xvfb "$display" -screen 0 1024x768x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
sleep 1
export DISPLAY=$display
export XDG_DATA_HOME=$work/xdg XDG_CONFIG_HOME=$work/config

"$work/blackbox" --calibrate=200 -q 2>"$work/calibration.txt" || true

# The detector watches a black screen first; the program then starts and shows its items.
"$work/blackbox" -n 200 -o "$work/bb.csv" --key 1 --min-ms 250 --max-ms 650 -q &
detector=$!
sleep 1
echo "wait 900000" >"$work/script.txt"
"$build/src/app/corvane" --run "$work/study/timing.exp" --subject bench --condition 1 \
    --script "$work/script.txt" --message-log "$work/messages.log" --timeout 900 &
corvane=$!
wait $detector
wait $corvane || true
corvane=

python3 "$here/rts_from_data.py" "$work/study/data/byquestionnaire/timing.txt" "$work/rts.csv"
echo "detector calibration:"; sed 's/^/  /' "$work/calibration.txt"
python3 "$tools/analyze.py" --bb "$work/bb.csv" --target "$work/rts.csv" --col rt_ms
