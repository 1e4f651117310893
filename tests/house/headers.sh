#!/usr/bin/env bash
# headers.sh COMPILER INCLUDE QT_INCLUDE...: each public header compiles alone, with all warnings,
# with nothing but Qt Core on the path, and without what strict applications switch off.
set -euo pipefail
compiler=$1
include=$2
shift 2
options=(-std=c++20 -fPIC -fsyntax-only -x c++ -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
    -DQT_NO_KEYWORDS -DQT_NO_CAST_FROM_ASCII -DQT_NO_CAST_TO_ASCII -DQT_NO_CAST_FROM_BYTEARRAY
    -I "$include")
for folder in "$@"; do
    options+=(-isystem "$folder")
done

status=0
count=0
for header in "$include"/Dorvane/*.h; do
    count=$((count + 1))
    name=Dorvane/${header##*/}
    # Twice: a header without a guard shows.
    printf '#include <%s>\n#include <%s>\n' "$name" "$name" | "$compiler" "${options[@]}" - || {
        echo "$name does not compile alone" >&2
        status=1
    }
done
[ "$count" -gt 0 ] || status=1
exit $status
