#!/usr/bin/env bash
# find-package.sh PREFIX BUILD shared|static CMAKE_ARGUMENT...: an application that asks CMake for Dorvane.
. "$(dirname "$0")/common.sh"
prefix=$1 build=$2 kind=$3
shift 3
build_project "$here/consumer" "$build" -DCMAKE_PREFIX_PATH="$prefix" "$@"
expect_texts "$build/consumer"

actual=static
! readelf --dynamic "$build/consumer" | grep -q 'NEEDED.*libdorvane\.so\.1\]' || actual=shared
[ "$actual" = "$kind" ] || fail "The program is linked $actual, not $kind"
