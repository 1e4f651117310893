#!/usr/bin/env bash
# exports.sh LIBRARY: a guest exports its own names only, or they would meet the host's.
set -euo pipefail
# Type information, virtual tables and the like belong to the class they name.
belongings='(typeinfo for |typeinfo name for |vtable for |VTT for |guard variable for |(non-)?virtual thunk to )?'
ours='(Dorvane|DV|dv_|dorvane)'

symbols=$(nm --dynamic --defined-only --demangle "$1" | cut -d' ' -f3-)
[ -n "$symbols" ] || {
    echo "$1 exports nothing" >&2
    exit 1
}
if foreign=$(grep -vE "^$belongings$ours" <<<"$symbols"); then
    echo "$1 exports names that are not its own:" >&2
    sort -u <<<"$foreign" >&2
    exit 1
fi
