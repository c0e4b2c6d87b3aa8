#!/bin/sh
# Walks through the windows of the program on a screen of its own, at scale 1 and 2, in English and German, in a light
# and a dark palette, and leaves pictures of them in FOLDER. Needs a build of the preset (release unless told), Xvfb,
# xprop and a window manager (openbox or matchbox-window-manager).
#
#   tools/walk.sh FOLDER [PRESET [SCALE [LANGUAGE-INDEX [light|dark]]]]
set -eu
cd "$(dirname "$0")/.."
[ $# -ge 1 ] || { sed -n '2,6s/^# \{0,1\}//p' "$0" >&2; exit 2; }
folder=$1
preset=${2:-release}
programs=build/$preset/bin
[ "$preset" = release ] && programs=build/bin
photo=${WALK_PHOTO:-data/samples/astronaut.png}

manager=$(command -v openbox || command -v matchbox-window-manager) || {
    echo "No window manager: install openbox or matchbox-window-manager." >&2
    exit 1
}
command -v xprop >/dev/null || {
    echo "No xprop: install x11-utils." >&2
    exit 1
}
XDG_RUNTIME_DIR=$(mktemp -d)
export XDG_RUNTIME_DIR QT_QPA_PLATFORM=xcb
screen_pid="" manager_pid=""
stop() {
    [ -z "$manager_pid" ] || kill "$manager_pid" 2>/dev/null || true
    [ -z "$screen_pid" ] || kill "$screen_pid" 2>/dev/null || true
    screen_pid="" manager_pid=""
}
trap 'stop; rm -rf "$XDG_RUNTIME_DIR"' EXIT

# scale language palette
walk() {
    Xvfb -displayfd 3 -screen 0 "$((1200 * $1))x$((900 * $1))x24" -nolisten tcp 3>"$XDG_RUNTIME_DIR/display" \
        2>/dev/null &
    screen_pid=$!
    until [ -s "$XDG_RUNTIME_DIR/display" ]; do
        kill -0 "$screen_pid"
    done
    DISPLAY=:$(cat "$XDG_RUNTIME_DIR/display")
    export DISPLAY
    "$manager" >/dev/null 2>&1 &
    manager_pid=$!
    # A window that is mapped before the manager has the screen may never be told that it is seen.
    until xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q '#'; do
        kill -0 "$manager_pid"
    done
    QT_SCALE_FACTOR=$1 "$programs/veridane_walk" "$photo" "$folder/scale$1-language$2-$3" "$2" "$3"
    stop
    : >"$XDG_RUNTIME_DIR/display"
    echo "$folder/scale$1-language$2-$3: done"
}

for scale in ${3:-1 2}; do
    for language in ${4:-0 1}; do
        for palette in ${5:-light dark}; do
            walk "$scale" "$language" "$palette"
        done
    done
done
