#!/usr/bin/env bash
# private-exports.sh LIBRARY REVIEW LIST PRIVATE_LIST NAME: what LIBRARY exports for REVIEW alone is what REVIEW uses, costs
# LIBRARY nothing, and is bound to the release by NAME.
set -euo pipefail
library=$1 review=$2 list=$3 private=$4 name=$5
export LC_ALL=C
status=0

complain() { # TEXT NAMES
    printf '%s:\n%s\n' "$1" "$2" >&2
    status=1
}

demangled() { nm --dynamic --demangle "$@" | cut -c18- | sort -u; }

used=$(demangled --undefined-only "$review" | sed -n 's/^U //p' | sort)
unused=$(comm -23 <(sort "$private") <(echo "$used"))
[ -z "$unused" ] || complain "$review uses none of these, so they need not be exported (DORVANE_PRIVATE_EXPORT)" "$unused"
grep -qx "$name" <<<"$used" || complain "$review loads with any release, since it does not refer to" "$name"
both=$(comm -12 <(sort "$list") <(sort "$private"))
[ -z "$both" ] || complain "Promised and private at the same time" "$both"

# Exported data is reached through a table, also from inside; a call is not, unless the linker was not told.
data=$(demangled --defined-only "$library" | grep -v '^T ' | cut -c3- | grep -xF -f "$private" || true)
[ -z "$data" ] || complain "Only functions may be exported for $review, not data" "$data"
slow=$(readelf --relocs --wide "$library" | grep JUMP_SLO | awk '{print $5}' | c++filt | grep -E '^(DV|Dorvane|dv_|dorvane)' || true)
[ -z "$slow" ] || complain "$library calls functions of its own through a table (-Bsymbolic-functions)" "$slow"

exit $status
