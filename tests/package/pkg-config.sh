#!/usr/bin/env bash
# pkg-config.sh PREFIX BUILD shared|static COMPILER: an application that is compiled in one line, without CMake.
. "$(dirname "$0")/common.sh"
prefix=$1 build=$2 kind=$3 compiler=$4
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
mkdir -p "$build"

compile() { # PKG_CONFIG_OPTION...: makes $build/consumer
    local flags
    flags=$(pkg-config "$@" --cflags --libs dorvane)
    quietly "$compiler" -std=c++20 -fPIC -o "$build/consumer" "$here/consumer/main.cpp" $flags -Wl,-rpath,"$prefix/lib"
}

version=$(pkg-config --modversion dorvane)
quietly pkg-config --exists 'dorvane >= 1.4'
[ "$version" = "$(sed -n 's/^set(PACKAGE_VERSION "\(.*\)")$/\1/p' "$prefix"/lib/cmake/Dorvane/DorvaneConfigVersion.cmake)" ] ||
    fail "pkg-config and CMake disagree about the version: $version"
compile
expect_texts "$build/consumer"
compile --static
expect_texts "$build/consumer"

if [ "$kind" = shared ]; then
    # Its users need the headers of Qt Core and no more.
    modules=$(pkg-config --print-requires dorvane)$(pkg-config --print-requires-private dorvane)
    [ "$modules" = 'Qt6Core >= 6.4' ] || fail "The shared library asks for $modules"
    exit
fi
# A host's own library takes the archive in and exports nothing of it.
echo '#include <Dorvane/Dorvane.h>
__attribute__((visibility("default"))) void hostStart() { Dorvane::startWithProjectId({}); }' >"$build/host.cpp"
quietly "$compiler" -std=c++20 -fPIC -shared -o "$build/libhost.so" "$build/host.cpp" $(pkg-config --cflags --libs dorvane)
exported=$(nm --dynamic --defined-only --demangle "$build/libhost.so" | cut -d' ' -f3-)
grep -q '^hostStart()$' <<<"$exported" || fail "The host's library exports $exported"
if ours=$(grep -E '^((typeinfo|vtable)( name)? for )?(Dorvane|dorvane|DV|dv_)' <<<"$exported"); then
    fail "A host's library exports our names:"$'\n'"$ours"
fi
