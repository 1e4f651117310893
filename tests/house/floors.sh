#!/usr/bin/env bash
# floors.sh ROOT FLOOR... [-- LIBRARY[:FLOOR...]...]: a room includes only rooms on its own or a lower floor (floors
# are given lowest first), a library above them only its own headers, public ones and those of the floors named
# after it, public headers include only public headers, applications include nothing else, and nobody names a Qt module in an include: <QLabel> compiles only where Widgets are linked.
set -euo pipefail
cd "$1"
shift
floors=()
while [ $# -gt 0 ] && [ "$1" != -- ]; do
    floors+=("$1")
    shift
done
declare -A also # the floors that a library above them may include as well
above=()
for library in "${@:2}"; do
    name=${library%%:*}
    above+=("$name")
    also[$name]=:${library#"$name"}:
done
status=0

complain() {
    echo "$1" >&2
    status=1
}

includes() { # folder...: "file:line:name" for each include of one of our own headers
    grep -rnoE --include='*.h' --include='*.cpp' '^ *# *include *["<][^">]+[">]' "$@" 2>/dev/null |
        sed -E 's/: *# *include *["<]([^">]+)[">]/:\1/' || true
}

declare -A level_of folder_of
rooms=("${floors[@]}" "${above[@]}")
for level in "${!rooms[@]}"; do
    for header in "src/${rooms[level]}"/*.h; do
        [ -e "$header" ] || continue
        name=${header##*/}
        [ -z "${level_of[$name]:-}" ] || complain "$header: another floor has a header of that name"
        level_of[$name]=$level
        folder_of[$name]=${rooms[level]}
    done
done

for level in "${!floors[@]}"; do
    while IFS=: read -r file line name; do
        other=${level_of[${name##*/}]:-$level}
        [ "$other" -le "$level" ] || complain "$file:$line: ${floors[level]} may not include $name of ${rooms[other]}"
    done < <(includes "src/${floors[level]}")
done

for library in "${above[@]}"; do
    while IFS=: read -r file line name; do
        other=${folder_of[${name##*/}]:-$library}
        [ "$other" = "$library" ] || [[ ${also[$library]} == *:"$other":* ]] ||
            complain "$file:$line: $library may not include $name of $other"
    done < <(includes "src/$library")
done

while IFS=: read -r file line name; do
    [ -z "${level_of[${name##*/}]:-}" ] || complain "$file:$line: only <Dorvane/...> may be included here, not $name"
done < <(includes include examples)

while IFS=: read -r file line name; do
    case $name in
    Qt[A-Z]*/* | private/*) complain "$file:$line: write the include without the module: $name" ;;
    esac
done < <(includes include src tools examples benchmarks tests)

exit $status
