#!/usr/bin/env bash
# static.sh SOURCE BUILD PREFIX CMAKE_ARGUMENT...: builds the library as an archive and installs it. The
# objects are those of the shared library; with ccache they are not compiled again.
. "$(dirname "$0")/common.sh"
source=$1 build=$2 prefix=$3
shift 3
build_project "$source" "$build" -DBUILD_SHARED_LIBS=OFF -DDORVANE_BUILD_TESTS=OFF -DDORVANE_BUILD_TOOLS=OFF \
    -DDORVANE_BUILD_EXAMPLES=OFF -DDORVANE_BUILD_BENCHMARKS=OFF "$@"
"$here/install.sh" "$build" "$prefix"
