#!/usr/bin/env bash
# linked.sh PREFIX PROGRAM: what an application takes in with the library. Ours is what the program and the
# library name themselves; what Qt Core and Qt Network bring along is for whoever built that Qt to decide, so
# it is said and not judged. Prints both.
. "$(dirname "$0")/common.sh"
export LC_ALL=C
prefix=$1 program=$2
unwanted='^(libQt6(Gui|Widgets|DBus|Qml|Quick)|libdbus-|libX11|libxcb|libwayland-|libEGL|libGL|libGLX)'

needed() { readelf --dynamic --wide "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'; }
closure() { ldd "$1" | awk '/=>/ {print $1} /^\t\// {sub(".*/", "", $1); print $1}' | grep -v '^linux-' | sort -u; }
path_of() { ldd "$program" | awk -v name="$1" '$1 ~ "^" name {print $3}'; }

ours=$( (needed "$program"; needed "$prefix"/lib/libdorvane.so) | sort -u)
qt=$( (closure "$(path_of libQt6Core)"; closure "$(path_of libQt6Network)") | sort -u)
all=$(closure "$program")
loaded=$(in_new_home "$program" "$here/consumer/strings" loaded | sed 's|.*/||' | sort -u)
grep -q '^libQt6Network' <<<"$loaded" || fail "The program did not load Qt Network"

echo "named by the program or by Dorvane:" $ours
echo "brought along by Qt Core and Qt Network:" $(comm -13 <(echo "$ours") <(echo "$qt"))
echo "brought along by others:" $(comm -23 <(echo "$all") <( (echo "$ours"; echo "$qt") | sort -u))
echo "loaded at run time besides:" $(comm -13 <(sed 's/\.so.*//' <<<"$all" | sort -u) <(sed 's/\.so.*//' <<<"$loaded" | sort -u))

# A library that Qt does not name itself came with us.
if bad=$(grep -E "$unwanted" <<<"$ours") || bad=$(comm -23 <(echo "$all") <(echo "$qt") | grep -E "$unwanted"); then
    fail "Unwanted, and not Qt Core's or Qt Network's doing: $bad"
fi
if bad=$(grep -E "$unwanted" <<<"$all"$'\n'"$loaded"); then
    echo "NOTE: this Qt itself brings along" $bad
fi
