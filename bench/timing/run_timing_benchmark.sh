#!/usr/bin/env bash
# The reaction-time benchmark: Corvane runs scale items in a real window under Xvfb, the
# black-box tool watches the screen centre and presses the key, and the recorded reaction times
# are compared with the true ones.
#
#   bench/timing/run_timing_benchmark.sh [BUILD_DIR] [--trials N] [--next-item]
#
# Default: N trials (1000) of the reaction-time error, with the targets.
# --next-item: N trials (200) of the time from the injected key to the next item's wording on
# the screen (the detector's key_to_off_ms: the next item leaves the centre black).
# Needs: xvfb, libx11-dev, libxtst-dev, libxext-dev, python3 (Debian packages), and a quiet
# machine. The black-box tool is taken from BLACKBOX_DIR or the shared tools beside the tree.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=$root/build
trials=
next_item=
while [ $# -gt 0 ]; do
    case $1 in
    --trials) trials=$2; shift 2 ;;
    --next-item) next_item=1; shift ;;
    *) build=$1; shift ;;
    esac
done
build=$(cd "$build" && pwd)
trials=${trials:-$([ -n "$next_item" ] && echo 200 || echo 1000)}
tools=${BLACKBOX_DIR:-}
for candidate in "$root/../shared/tools/blackbox" "$root/../../shared/tools/blackbox"; do
    [ -z "$tools" ] && [ -f "$candidate/blackbox.c" ] && tools=$(cd "$candidate" && pwd)
done
[ -n "$tools" ] || { echo "blackbox.c not found: set BLACKBOX_DIR" >&2; exit 1; }
work=$(mktemp -d)
trap 'kill ${xvfb:-} ${corvane:-} 2>/dev/null || true; rm -rf "$work"' EXIT

cc -O2 -std=c11 -o "$work/blackbox" "$tools/blackbox.c" -lX11 -lXtst -lXext -lpthread -lm
if [ -n "$next_item" ]; then
    "$build/bench/make_timing_study" "$work/study" "$trials" 0 next
else
    "$build/bench/make_timing_study" "$work/study" "$trials" 400
fi

display=:${BENCH_DISPLAY:-97}
Xvfb "$display" -screen 0 1024x768x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
sleep 1
export DISPLAY=$display
export XDG_DATA_HOME=$work/xdg XDG_CONFIG_HOME=$work/config

"$work/blackbox" --calibrate=200 -q 2>"$work/calibration.txt" || true

# The detector watches a black screen first (it wants half a second of it); the program then
# starts and shows its items.
"$work/blackbox" -n "$trials" -o "$work/bb.csv" --key 1 --min-ms 250 --max-ms 650 -q \
    2>"$work/blackbox.log" &
detector=$!
sleep 3
echo "wait 3600000" >"$work/script.txt"
"$build/src/app/corvane" --run "$work/study/timing.exp" --subject bench --condition 1 \
    --script "$work/script.txt" --message-log "$work/messages.log" --timeout 3600 &
corvane=$!
wait $detector || { cat "$work/blackbox.log" >&2; exit 1; }
# The last item answered, the run writes its data and ends; a run that hangs is stopped.
for _ in $(seq 120); do kill -0 $corvane 2>/dev/null || break; sleep 0.5; done
kill $corvane 2>/dev/null || true
wait $corvane || true
corvane=

echo "detector calibration:"; sed 's/^/  /' "$work/calibration.txt"
if [ -n "$next_item" ]; then
    python3 - "$work/bb.csv" <<'PY'
import csv, math, statistics, sys
rows = list(csv.DictReader(open(sys.argv[1])))
times = sorted(float(r["key_to_off_ms"]) for r in rows)
def pct(p):
    k = (len(times) - 1) * p / 100
    lo, hi = math.floor(k), math.ceil(k)
    return times[lo] + (times[hi] - times[lo]) * (k - lo)
print(f"key to next item's wording on the screen: n={len(times)} median={statistics.median(times):.2f} "
      f"p99={pct(99):.2f} max={times[-1]:.2f} ms (target: median <= 2, p99 <= 5 ms)")
PY
else
    python3 "$here/rts_from_data.py" "$work/study/data/byquestionnaire/timing.txt" "$work/rts.csv"
    python3 "$tools/analyze.py" --bb "$work/bb.csv" --target "$work/rts.csv" --col rt_ms
    python3 - "$work/bb.csv" "$work/rts.csv" <<'PY'
import csv, sys
bb = list(csv.DictReader(open(sys.argv[1])))
rts = list(csv.DictReader(open(sys.argv[2])))
errors = [float(r["rt_ms"]) - float(b["true_rt_ms"]) for b, r in zip(bb, rts)]
outside = [round(e, 2) for e in errors if abs(e) > 3]
print(f"trials beyond +-3 ms: {len(outside)} {outside[:10]} "
      "(target: |mean| <= 0.3, SD <= 0.4, p99 <= 1.5 ms, none beyond +-3 ms)")
PY
fi
