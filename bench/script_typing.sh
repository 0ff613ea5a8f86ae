#!/bin/sh
# Time of an unattended run that types a long line into the exit password's text box, for
# growing lengths: the time should grow with the length, not with its square.
# Usage: bench/script_typing.sh BUILD_DIR
set -eu
build=${1:-build}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
def="$build/src/tools/corvane-def"
run="$build/src/app/corvane"
printf 'questionnumber,QuestionType,VariableName,QuestionWording,Parameters,WriteData,WriteRT\n1,scale response,f1,How?,(p5),yes,yes\n' >"$work/q.csv"
printf 'Condition,position,file\na,1,first.que\n' >"$work/e.csv"
"$def" create "$work/first.que" "$work/q.csv"
"$def" create "$work/study.exp" "$work/e.csv"
export XDG_DATA_HOME="$work/xdg" XDG_CONFIG_HOME="$work/xdg-config" QT_QPA_PLATFORM=offscreen
# A first run seeds the program folder; then the default preferences get an exit password.
printf 'wait 300\nkey 1\n' >"$work/seed.txt"
"$run" --run "$work/study.exp" --subject 0 --condition a --virtual-clock --script "$work/seed.txt" \
    --message-log "$work/log.txt" --timeout 60 >/dev/null 2>&1 || true
sqlite3 "$work/xdg/corvane/styles/default.cvp" "UPDATE options SET cvs_password = 'pw'"
for n in 1000 2000 4000 8000 16000; do
    python3 -c "print('wait 300'); print('key 1'); print('type ' + 'a' * $n); print('key Enter')" >"$work/s.txt"
    start=$(date +%s.%N)
    "$run" --run "$work/study.exp" --subject "$n" --condition a --virtual-clock --script "$work/s.txt" \
        --message-log "$work/log.txt" --timeout 300 >/dev/null 2>&1 || true
    end=$(date +%s.%N)
    echo "$n characters: $(echo "$end - $start" | bc) s"
done
