#!/usr/bin/env bash
# review.sh PREFIX BUILD shared|static COMPILER CMAKE_ARGUMENT...: an application for translators, built by CMake and in one
# line; and what keeps libraries of different releases apart.
. "$(dirname "$0")/common.sh"
prefix=$1 build=$2 kind=$3 compiler=$4
shift 4
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig

expect_review() {
    local printed
    printed=$(in_new_home "$1" 2>"$build/said") || fail "$1 failed: $(cat "$build/said")"
    [ "$printed" = "reviewing untouched" ] || fail "$1 printed: $printed"
}

build_project "$here/review" "$build" -DCMAKE_PREFIX_PATH="$prefix" "$@"
expect_review "$build/consumer"
# As some distributions link everything: --as-needed.
quietly "$compiler" -std=c++20 -fPIC -DNAMES_THE_LIBRARY -Wl,--as-needed -o "$build/in-one-line" "$here/review/main.cpp" \
    $(pkg-config --cflags --libs dorvane-review Qt6Widgets) -Wl,-rpath,"$prefix/lib"
expect_review "$build/in-one-line"

version=$(pkg-config --modversion dorvane)
[[ $(pkg-config --print-requires dorvane-review) == *"dorvane = $version"* ]] || fail "pkg-config lets any release through"
name=dorvane_private_${version//./_}
if [ "$kind" = static ]; then
    if readelf --dynamic "$build/consumer" | grep 'NEEDED.*dorvane'; then
        fail "The program is not linked with the archives"
    fi
    exit
fi
# Another release, by the only thing that tells: its name for itself. All but the loader would take it.
mkdir -p "$build/other"
sed "s/$name/${name/private/PRIVATE}/g" "$prefix/lib/libdorvane.so.1" >"$build/other/libdorvane.so.1"
if said=$(in_new_home LD_LIBRARY_PATH="$build/other" "$build/consumer" 2>&1); then
    fail "It runs with the core of another release"
fi
[[ $said == *"undefined symbol: $name"* ]] || fail "With the core of another release it said: $said"
