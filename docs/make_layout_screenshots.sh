#!/usr/bin/env bash
# Screenshots of a twelve-point vertical scale as a participant sees it at 1366x768 and at
# 1024x768: the real run window on an X server of its own with openbox as window manager.
#   docs/make_layout_screenshots.sh [BUILD_DIR]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../build}" && pwd)
work=$(mktemp -d)
xvfb='' openbox=''
stop() {
    [ -n "$openbox" ] && kill "$openbox" 2>/dev/null || true
    [ -n "$xvfb" ] && kill "$xvfb" 2>/dev/null || true
    openbox='' xvfb=''
}
trap 'stop; rm -rf "$work"' EXIT
export XDG_DATA_HOME=$work/xdg XDG_CONFIG_HOME=$work/config
"$build/src/tools/corvane-def" create "$work/layout.que" "$here/layout-screenshots.csv"
printf 'wait 4000\nkey 3\n' >"$work/script.txt"

shoot() { # SIZE OUT.png
    # The server picks a free display and writes its number on descriptor 3.
    Xvfb -displayfd 3 -nolisten tcp -screen 0 "$1x24" 3>"$work/display" >/dev/null 2>&1 &
    xvfb=$!
    for _ in $(seq 50); do [ -s "$work/display" ] && break; sleep 0.1; done
    export DISPLAY=:$(cat "$work/display")
    openbox --sm-disable >/dev/null 2>&1 &
    openbox=$!
    for _ in $(seq 50); do xdotool get_num_desktops >/dev/null 2>&1 && break; sleep 0.1; done
    QT_QPA_PLATFORM=xcb "$build/src/app/corvane" --run "$work/layout.que" --subject demo \
        --condition 1 --script "$work/script.txt" --message-log "$work/messages.log" \
        --timeout 60 &
    local run=$!
    sleep 2.5
    "$build/bench/screen_grab" "$2"
    wait "$run"
    stop
    : >"$work/display"
}

shoot 1366x768 "$here/scale-12-1366x768.png"
shoot 1024x768 "$here/scale-12-1024x768.png"
