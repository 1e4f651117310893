#!/usr/bin/env bash
# install.sh BUILD PREFIX: installs a build tree, then moves what was installed: nothing in it may name
# the place where it was built or installed first.
. "$(dirname "$0")/common.sh"
build=$1 prefix=$2

rm -rf "$prefix" "$prefix.first"
quietly cmake --install "$build" --prefix "$prefix.first"
if named=$(grep -rlIF -e "$build" -e "$prefix" "$prefix.first"); then
    fail "These installed files name the build tree or the prefix:"$'\n'"$named"
fi
for file in "$prefix.first"/lib*/*.so "$prefix.first"/bin/*; do
    [ -e "$file" ] || continue
    if readelf --dynamic "$file" | grep -E 'RPATH|RUNPATH'; then
        fail "$file looks for libraries in a folder of its own"
    fi
done
mv "$prefix.first" "$prefix"
