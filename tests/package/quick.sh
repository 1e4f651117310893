#!/usr/bin/env bash
# quick.sh PREFIX BUILD shared|static COMPILER CMAKE_ARGUMENT...: a QML application, built by CMake and in one line.
. "$(dirname "$0")/common.sh"
prefix=$1 build=$2 kind=$3 compiler=$4
shift 4
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig

expect_qml() {
    local seen
    seen=$(in_new_home "$1" "$here/consumer/strings")
    [ "$seen" = $'fr\nbonjour du paquet' ] || fail "$1 printed:"$'\n'"$seen"
}

build_project "$here/quick" "$build" -DCMAKE_PREFIX_PATH="$prefix" "$@"
expect_qml "$build/consumer"
# As some distributions link everything: --as-needed.
quietly "$compiler" -std=c++20 -fPIC -Wl,--as-needed -o "$build/in-one-line" "$here/quick/main.cpp" \
    $(pkg-config --cflags --libs dorvane-quick Qt6Qml) -Wl,-rpath,"$prefix/lib"
expect_qml "$build/in-one-line"

if [ "$kind" = static ] && readelf --dynamic "$build/consumer" | grep 'NEEDED.*dorvane'; then
    fail "The program is not linked with the archives"
fi
