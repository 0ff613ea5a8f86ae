#!/usr/bin/env bash
# Web pages and outside programs in a real window under Xvfb:
#   docs/web-item.png: a web item with the toolbar that browser.txt switches on;
#   docs/program-running.png: the screen that covers the run while an outside program runs.
#   docs/make_web_screenshots.sh [BUILD_DIR]        (needs xvfb and xauth)
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../build}" && pwd)
corvane=$build/src/app/corvane
def=$build/src/tools/corvane-def
. "$here/private_display.sh" 1024x768
# The pages are the script's own: the web engine's sandbox and GPU are not needed for them.
export QTWEBENGINE_DISABLE_SANDBOX=1 QTWEBENGINE_CHROMIUM_FLAGS="--no-sandbox --disable-gpu" QT_QUICK_BACKEND=software

cat >"$work/welcome.htm" <<'HTML'
<html><head><title>Reading task</title></head>
<body style="font-family: sans-serif; margin: 40px; background: #f4f1ea">
<h1>The reading task</h1>
<p>Please read the short text below, then follow the link to the questions. You may go back
to this page with the Back button above.</p>
<blockquote>Every morning the harbour filled with small boats, and by noon the market smelled
of salt and oranges.</blockquote>
<p><a href="questions.htm">On to the questions</a></p>
</body></html>
HTML
echo '<html><body><h1>Questions</h1></body></html>' >"$work/questions.htm"
printf 'back true\nforward true\nhome true\nrefresh true\n' >"$work/browser.txt"
printf '#!/bin/sh\nsleep 20\n' >"$work/task.sh"
chmod +x "$work/task.sh"
cat >"$work/q.csv" <<'CSV'
questionnumber,QuestionType,QuestionWording,VariableName,FileName,Parameters,WriteData,WriteRT
1,webtracker,none,reading,welcome.htm,,yes,yes
2,executable,none,task,task.sh,,yes,yes
CSV
"$def" create "$work/shots.que" "$work/q.csv"
printf 'page\nsleep 12000\nclick Continue\nsleep 20000\n' >"$work/shots.txt"
"$corvane" --run "$work/shots.que" --subject demo --condition 1 --allow-programs \
    --script "$work/shots.txt" --message-log "$work/shots.log" --timeout 60 &
run=$!
sleep 9
"$build/bench/screen_grab" "$here/web-item.png"
sleep 8
"$build/bench/screen_grab" "$here/program-running.png" || cat "$work/shots.log"
kill $run 2>/dev/null || true
wait $run 2>/dev/null || true
