#!/usr/bin/env bash
# keychain.sh PREFIX BUILD COMPILER CMAKE_ARGUMENT...: an application for translators, built by CMake and in one line.
# It runs without any D-Bus session.
. "$(dirname "$0")/common.sh"
prefix=$1 build=$2 compiler=$3
shift 3
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig

expect_start() {
    local printed
    printed=$(in_new_home "$1") || fail "$1 failed and printed: $printed"
    [ "$printed" = started ] || fail "$1 printed: $printed"
    readelf --dynamic "$1" | grep -q 'NEEDED.*keychain' || fail "$1 is not linked with a keychain"
}

build_project "$here/keychain" "$build" -DCMAKE_PREFIX_PATH="$prefix" "$@"
expect_start "$build/consumer"
quietly "$compiler" -std=c++20 -fPIC -Wl,--as-needed -o "$build/in-one-line" "$here/keychain/main.cpp" \
    $(pkg-config --cflags --libs dorvane-keychain) -Wl,-rpath,"$prefix/lib"
expect_start "$build/in-one-line"
