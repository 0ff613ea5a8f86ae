#!/bin/sh
# Runs the media benchmark in a real window on a private X server.
#   bench/media/run_media_benchmark.sh BUILD_DIR [ITEMS]
set -eu
build=${1:?usage: run_media_benchmark.sh BUILD_DIR [ITEMS]}
items=${2:-50}
fifo=$(mktemp -u)
mkfifo "$fifo"
Xvfb -displayfd 3 -nolisten tcp -screen 0 1024x768x24 3>"$fifo" 2>/dev/null &
server=$!
trap 'kill $server 2>/dev/null; rm -f "$fifo"' EXIT
read -r display <"$fifo"
# Xvfb's GL does not carry the films' frames: they are drawn without it.
QT_XCB_GL_INTEGRATION=none DISPLAY=":$display" QT_QPA_PLATFORM=xcb "$build/bench/bench_media_items" "$items"
