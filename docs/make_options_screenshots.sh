#!/usr/bin/env bash
# The preferences dialog in a real window under Xvfb, worked as a new user would with a real
# mouse (xdotool): Preferences > QuickStyles, a click on the question's background picks a
# colour, a click on the question's text picks a font, Save asks for a name and writes the
# QuickStyle. Pictures: docs/options-quickstyle.png, docs/options-colour.png,
# docs/options-saved.png; then the saved file is checked.
#   docs/make_options_screenshots.sh [BUILD_DIR]    (needs xvfb, xauth, openbox and xdotool)
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../build}" && pwd)
corvane=$build/src/app/corvane
grab=$build/bench/screen_grab
# A display of 1024 by 768 with a window manager that centres dialogs: the places below
# follow from that.
. "$here/private_display.sh" 1024x768 openbox
"$corvane" >"$work/corvane.log" 2>&1 &
to_stop+=($!)
xdotool search --sync --name '^Corvane$' >/dev/null
sleep 8 # the splash gives way to the launcher

click() { xdotool mousemove "$1" "$2" sleep 0.4 click 1 sleep "${3:-0.5}"; }

click 125 27                  # Preferences
click 150 48 3                # QuickStyles: the dialog for a new QuickStyle
xdotool mousemove 600 300 sleep 0.3 mousemove 610 320 sleep 0.5
"$grab" "$here/options-quickstyle.png"
click 610 320 3               # the question's background: the colour dialog
"$grab" "$here/options-colour.png"
click 457 269                 # a light yellow
click 628 512 1.5             # OK
click 380 280 3               # the question's text: the font dialog
click 529 221                 # Italic
click 681 305                 # 14 points
click 613 489 1.5             # OK
click 440 553 3               # Save: a QuickStyle is saved under a name of its own
click 500 485
xdotool type --delay 80 calm.cvq
click 761 485 2               # Save
xdotool mousemove 600 650 sleep 0.5
"$grab" "$here/options-saved.png"
click 684 553 1               # Close

saved=$(/usr/bin/python3 -c "
import sqlite3, sys
row = sqlite3.connect(sys.argv[1]).execute(
    'select cvs_bcolour1, cvs_fontitalic1, cvs_fontsize1 from options').fetchone()
print(*row)" "$XDG_DATA_HOME/corvane/styles/calm.cvq")
echo "calm.cvq: background, italic, size = $saved"
if [ "$saved" != "8388607 1 14.0" ]; then
    echo "the QuickStyle edited with the mouse: FAILED" >&2
    exit 1
fi
echo "the QuickStyle edited with the mouse: ok"
