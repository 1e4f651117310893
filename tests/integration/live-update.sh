#!/usr/bin/env bash
# live-update.sh TOOL PROJECT UPDATE PROGRAM: an example application shows a publication in its open window, without
# a restart. PROGRAM leaves with status 0 only after the texts of its window have changed.
set -euo pipefail
tool=$1 project=$2 update=$3 program=$4

fail() {
    printf '%s\n' "$*" >&2
    exit 1
}

work=$(mktemp -d)
trap 'exec {stop_server}>&- || true; wait || true; rm -rf "$work"' EXIT
cp -r "$project" "$work/project"

# wait_for LINE_START LOG: until the log has such a line.
wait_for() {
    for _ in $(seq 600); do
        grep -qs "^$1" "$2" && return
        sleep 0.1
    done
    fail "No line \"$1\" in:" "$(cat "$2")"
}

exec {stop_server}> >(exec "$tool" serve "$work/project" --exit-with-stdin --quiet >"$work/server.log" 2>&1)
wait_for '{"servers":' "$work/server.log"
servers=$(sed -n 's/^{"servers":\(.*\)}$/\1/p' "$work/server.log")

# A device of its own that has never seen a translation.
env HOME="$work/home" XDG_DATA_HOME="$work/data" XDG_CACHE_HOME="$work/cache" XDG_CONFIG_HOME="$work/config" \
    QT_QPA_PLATFORM=offscreen QT_QUICK_BACKEND=software \
    DORVANE_EXAMPLE_LOCALE=fr DORVANE_EXAMPLE_SERVERS="$servers" \
    "$program" --pictures "$work/pictures" --await-publication >"$work/app.log" 2>&1 &
application=$!
wait_for 'waiting for a new publication' "$work/app.log"
[ ! -e "$work/pictures/today-updated.png" ] || fail "It saw a publication before there was one"

cp "$update/fr.xlf" "$work/project/fr.xlf.new"
mv "$work/project/fr.xlf.new" "$work/project/fr.xlf"
wait "$application" || fail "The publication did not appear:" "$(cat "$work/app.log")"
! cmp -s "$work/pictures/today.png" "$work/pictures/today-updated.png" || fail "The window looks as before"
