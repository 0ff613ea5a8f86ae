#!/bin/sh
# Screenshots of an image item, a film's frame and a document's page in a real window under a
# private X server: docs/media_image.png, docs/media_movie.png, docs/media_document.png.
#   docs/make_media_screenshots.sh BUILD_DIR
# Needs Xvfb, xdotool, gst-launch-1.0 and soffice; the build's corvane, corvane-def, screen_grab.
set -eu
build=$(cd "${1:?usage: make_media_screenshots.sh BUILD_DIR}" && pwd)
docs=$(cd "$(dirname "$0")" && pwd)
. "$docs/private_display.sh" 1024x768
# Xvfb's GL does not carry the films' frames: they are drawn without it.
export QT_XCB_GL_INTEGRATION=none QT_QPA_PLATFORM=xcb

cd "$work"
gst-launch-1.0 -q videotestsrc num-buffers=1 pattern=smpte ! video/x-raw,width=480,height=360 \
    ! jpegenc ! filesink location=picture.jpg
gst-launch-1.0 -q videotestsrc num-buffers=300 pattern=ball ! \
    video/x-raw,width=480,height=360,framerate=30/1 ! jpegenc ! avimux ! filesink location=film.avi
printf '%s' '{\rtf1\ansi{\fonttbl{\f0 Times;}}\f0\fs32 {\b Instructions}\par\par Please read this '\
'letter carefully. When you have finished, press Continue to go on.\par\par The second page '\
'follows.\page Page two.\par}' > letter.rtf
cat > items.csv <<'CSV'
questionnumber,QuestionType,QuestionWording,VariableName,FileName,Parameters,WriteData,WriteRT
1,image file,none,picture,picture.jpg,,yes,yes
2,movie,none,film,film.avi,,yes,yes
3,Word Document,none,letter,letter.rtf,,yes,yes
CSV
printf 'Condition,position,file\na,1,items.que\n' > study.csv
"$build/src/tools/corvane-def" create items.que items.csv
"$build/src/tools/corvane-def" create study.exp study.csv
printf 'wait 3000\nkey Space\nwait 12000\nwait 3000\nkey Space\n' > script.txt
"$build/src/app/corvane" --run study.exp --subject 1 --condition a --script script.txt \
    --message-log messages.log --timeout 240 >run.log 2>&1 &
run=$!
# The first window comes once the document has been converted at load.
xdotool search --sync --onlyvisible --class . >/dev/null
sleep 1.5
"$build/bench/screen_grab" "$docs/media_image.png"
sleep 4
"$build/bench/screen_grab" "$docs/media_movie.png"
sleep 11
"$build/bench/screen_grab" "$docs/media_document.png"
wait $run || true
cat messages.log
