#!/bin/sh
# Runs a program on a desktop of its own: run.sh PROGRAM [ARGUMENT...]. KESTRANE_TEST_SCREEN is its size, "1600x1000".
#
# Needs Xvfb, xfwm4, trayer, xdotool and dbus-daemon. Without them it is skipped (77), or fails where
# KESTRANE_DESKTOP_TESTS is "required".
set -eu
for program in Xvfb xfwm4 trayer xdotool dbus-run-session; do
    command -v $program >/dev/null 2>&1 || {
        echo "SKIPPED: $program is missing" >&2
        [ "${KESTRANE_DESKTOP_TESTS:-}" != required ] || exit 1
        exit 77
    }
done
if [ -z "${KESTRANE_TEST_BUS:-}" ]; then
    KESTRANE_TEST_BUS=own exec dbus-run-session -- "$0" "$@"
fi

folder=$(mktemp -d)
trap 'kill $x $manager 2>/dev/null || true; rm -rf "$folder"' EXIT
x= manager=
mkfifo "$folder/display"
Xvfb -displayfd 3 -screen 0 "${KESTRANE_TEST_SCREEN:-1600x1000}x24" -nolisten tcp 3>"$folder/display" 2>"$folder/x.log" &
x=$!
read -r number <"$folder/display"
export DISPLAY=":$number" HOME="$folder" XDG_CONFIG_HOME="$folder"
xfwm4 --compositor=off >"$folder/manager.log" 2>&1 &
manager=$!
"$@"
