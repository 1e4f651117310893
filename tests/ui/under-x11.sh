#!/usr/bin/env bash
# under-x11.sh PROGRAM...: runs it on a real X server without a screen, window manager or compositor. Its status is the
# program's, or 77 where there is no such server.
set -euo pipefail
if ! command -v Xvfb >/dev/null; then
    echo "Skipped: there is no Xvfb (Debian: xvfb)"
    exit 77
fi
work=$(mktemp -d)
server=
clean_up() {
    [ -z "$server" ] || kill "$server" 2>/dev/null || true
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# The server finds a free number itself, and writes it once it answers.
mkfifo "$work/number"
Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$work/number" 2>"$work/log" &
server=$!
if ! read -r -t 60 number <"$work/number"; then
    echo "Xvfb did not start:" >&2
    cat "$work/log" >&2
    exit 1
fi
DISPLAY=:$number QT_QPA_PLATFORM=xcb "$@"
