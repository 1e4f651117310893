#!/usr/bin/env bash
# exports.sh LIBRARY [LIST [PRIVATE_LIST NAME]]: a guest exports its own names only, or they would meet the host's; and
# exactly those that the list has, because every name is a promise for all releases with this soname. Those of the
# private list are promised to nobody: Dorvane::Review uses them, and NAME, which is another in each release,
# binds it to the release.
# exports.sh --list LIBRARY: prints such a list.
set -euo pipefail

exported() { # LIBRARY: the names that it exports, as people read them
    nm --dynamic --defined-only --demangle "$1" | cut -d' ' -f3- | LC_ALL=C sort -u
}

if [ "$1" = --list ]; then
    exported "$2"
    exit
fi

# Type information, virtual tables and the like belong to the class they name.
belongings='(typeinfo for |typeinfo name for |vtable for |VTT for |guard variable for |(non-)?virtual thunk to )?'
ours='(Dorvane|DV|dv_|dorvane)'

symbols=$(exported "$1")
[ -n "$symbols" ] || {
    echo "$1 exports nothing" >&2
    exit 1
}
if foreign=$(grep -vE "^$belongings$ours" <<<"$symbols"); then
    echo "$1 exports names that are not its own:" >&2
    echo "$foreign" >&2
    exit 1
fi
[ $# -gt 1 ] || exit 0
listed=$( (cat "$2"; [ $# -lt 4 ] || { cat "$3"; echo "$4"; }) | LC_ALL=C sort)
if ! diff --unified=0 --label "listed" --label "$1" <(echo "$listed") - <<<"$symbols" >&2; then
    cat >&2 <<END

The names above with "+" are exported and not listed, those with "-" listed and not exported. What is marked
DORVANE_PRIVATE_EXPORT belongs into ${3:-the private list}, in the order of "LC_ALL=C sort". Else: a name
that went away breaks applications built before: it takes a new soname. If the change is meant, $2
is to have the lines of

    $0 --list $1
END
    exit 1
fi
