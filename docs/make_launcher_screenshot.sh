#!/usr/bin/env bash
# The launcher's start area as a new user sees it after two studies, in a real window under
# Xvfb with openbox: the recent experiments and the three first steps. Picture:
# docs/launcher-start.png
#   docs/make_launcher_screenshot.sh [BUILD_DIR]    (needs xvfb, xauth, openbox and xdotool)
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../build}" && pwd)
. "$here/private_display.sh" 1280x800 openbox
export HOME=$work/home XDG_DATA_HOME=$work/home/.local/share XDG_CONFIG_HOME=$work/home/.config

# Two studies made as the README shows, run once each: the newest first in the list.
templates=$here/../resources/templates
for study in mood sleep; do
    folder=$HOME/Documents/lab/$study
    mkdir -p "$folder"
    cp "$templates/questionnaire.csv" "$folder/$study.csv"
    "$build/src/tools/corvane-def" create "$folder/$study.que" "$folder/$study.csv"
    printf 'Condition,position,file\n1,1,%s.que\n' "$study" >"$folder/${study}_exp.csv"
    "$build/src/tools/corvane-def" create "$folder/$study.exp" "$folder/${study}_exp.csv"
done
mkdir -p "$XDG_DATA_HOME/corvane/ini"
printf '%s\r\n' "$HOME/Documents/lab/sleep/sleep.exp" "$HOME/Documents/lab/mood/mood.exp" \
    >"$XDG_DATA_HOME/corvane/ini/lastexp.ini"

"$build/src/app/corvane" >"$work/corvane.log" 2>&1 &
to_stop+=($!)
xdotool search --sync --name '^Corvane$' >/dev/null
sleep 8 # the splash gives way to the launcher
xdotool mousemove 640 700
"$build/bench/screen_grab" "$here/launcher-start.png"
echo "$here/launcher-start.png"
