# Sourced by the screenshot scripts: a private X server on a display it picks itself, the
# program's settings in a scratch folder, and all of it gone when the script ends.
#   . "$here/private_display.sh" WIDTHxHEIGHT [openbox]
# Sets `work` (the scratch folder), DISPLAY, XDG_DATA_HOME and XDG_CONFIG_HOME. A script adds
# the pid of anything it starts in the background to `to_stop`.
work=$(mktemp -d)
to_stop=()
stop_private_display() {
    kill "${to_stop[@]}" 2>/dev/null || true
    rm -rf "$work"
}
trap stop_private_display EXIT
Xvfb -displayfd 3 -screen 0 "${1:-1024x768}x24" -nolisten tcp 3>"$work/display" >/dev/null 2>&1 &
to_stop+=($!)
for _ in $(seq 100); do [ -s "$work/display" ] && break; sleep 0.1; done
if [ ! -s "$work/display" ]; then
    echo "Xvfb did not start (is the xvfb package installed?)" >&2
    exit 1
fi
export DISPLAY=:$(head -n1 "$work/display") XDG_DATA_HOME=$work/xdg XDG_CONFIG_HOME=$work/config
if [ "${2:-}" = openbox ]; then
    # A window manager, so that windows take the keyboard and dialogs are placed as on a desktop.
    openbox --sm-disable >/dev/null 2>&1 &
    to_stop+=($!)
    sleep 1
fi
