#!/usr/bin/env bash
# debian.sh SOURCE BUILD QUICK KEYCHAIN REVIEW CMAKE_ARGUMENT...: makes the Debian packages, looks into them, and builds
# an application against what they hold, without installing them.
. "$(dirname "$0")/common.sh"
source=$1 build=$2 quick=$3 keychain=$4 review=$5
shift 5
out=$build/out root=$build/root
quietly env BUILD="$build" OUT="$out" "$source/scripts/package" "$@"

field() { dpkg-deb --field "$out/$1"_*.deb "$2"; }

depends() { # PACKAGE TEXT...: each of them is among its dependencies
    local list text
    list=$(field "$1" Depends)
    for text in "${@:2}"; do
        [[ ", $list, " == *", $text"* ]] || fail "$1 does not depend on $text but on $list"
    done
}

packages=(libdorvane1 libdorvane-dev dorvane-tools)
[ "$quick" != installed ] || packages+=(libdorvane-quick1)
[ "$keychain" != installed ] || packages+=(libdorvane-keychain1)
[ "$review" != installed ] || packages+=(libdorvane-review1)
made=$(cd "$out" && printf '%s\n' *.deb | sed 's/_.*//' | sort)
[ "$made" = "$(printf '%s\n' "${packages[@]}" | sort)" ] || fail "The packages are $made"

version=$(field libdorvane1 Version)
rm -rf "$root"
for package in "${packages[@]}"; do
    [ "$(field "$package" Version)" = "$version" ] || fail "$package has another version"
    [ "$(field "$package" Maintainer)" = "The Dorvane authors <dorvane@example.invalid>" ] || fail "$package: maintainer"
    [ "$(field "$package" Description | wc -l)" -ge 3 ] || fail "$package has no description"
    [[ $(field "$package" Description) == [a-z]* ]] || fail "$package: the synopsis is $(field "$package" Description)"
    # Two blanks would keep its lines as they are broken.
    if field "$package" Description | grep -E "^  "; then fail "$package: its description is not filled"; fi
    if strange=$(dpkg-deb --contents "$out/$package"_*.deb | awk '$2 != "root/root" || $1 ~ /^.....w|^........w/ {print}' | grep -v '^l'); then
        fail "$package has files that others than root could change:"$'\n'"$strange"
    fi
    dpkg-deb --extract "$out/$package"_*.deb "$root"
    [ -s "$root/usr/share/doc/$package/copyright" ] || fail "$package has no copyright file"
    gzip -t "$root/usr/share/doc/$package/changelog.gz"
done

depends libdorvane1 'libqt6core6 (>= 6.4' 'libqt6network6 (' 'libicu' 'libssl3 (' 'libxml2 (' 'zlib1g ('
depends libdorvane-dev "libdorvane1 (= $version)" 'qt6-base-dev (>= 6.4)'
depends dorvane-tools 'libqt6httpserver6 ('
[[ $(field libdorvane1 Depends) != *gui* ]] || fail "libdorvane1 wants a user interface"
[ "$(field libdorvane1 Section) $(field libdorvane-dev Section)" = "libs libdevel" ] || fail "sections"
[ "$(dpkg-deb --info "$out"/libdorvane1_*.deb shlibs)" = "libdorvane 1 libdorvane1 (>= $version)" ] || fail "shlibs"
if [ "$quick" = installed ]; then
    depends libdorvane-quick1 "libdorvane1 (= $version)" 'libqt6qml6 ('
    depends libdorvane-dev "libdorvane-quick1 (= $version)"
fi
if [ "$keychain" = installed ]; then
    depends libdorvane-keychain1 "libdorvane1 (= $version)" 'libqt6keychain1 (' 'libsecret-1-0'
    depends libdorvane-dev "libdorvane-keychain1 (= $version)"
fi
if [ "$review" = installed ]; then
    depends libdorvane-review1 "libdorvane1 (= $version)" 'libqt6widgets6 ('
    depends libdorvane-dev "libdorvane-review1 (= $version)"
fi
gzip -t "$root/usr/share/man/man1/dorvane.1.gz"
[ "$(in_new_home "$root/usr/bin/dorvane" --version)" = "dorvane $version" ] || fail "the packaged tool does not run"

# Nothing of the build's is left for the application to find.
"$here/find-package.sh" "$root/usr" "$build/consumer" shared -G Ninja "$@"
