#!/usr/bin/env bash
# newcomer.sh PREFIX WORK CMAKE_ARGUMENT...: the first five minutes of somebody who has a Qt application with a .ts
# file, and has never seen Dorvane. The application is one of Qt's own examples, in the form that Debian packages, with
# the Portuguese translation that came with it; nothing in it knows of us.
. "$(dirname "$0")/common.sh"
prefix=$1 work=$2
shift 2
dorvane=$prefix/bin/dorvane
lupdate=/usr/lib/qt6/bin/lupdate
lconvert=/usr/lib/qt6/bin/lconvert

step() { printf '[%2d s] %s\n' $SECONDS "$*"; }

original=$(dpkg -L qttools5-examples 2>/dev/null | grep '/trollprint/main\.cpp$') ||
    fail "The example application is missing: scripts/setup installs it (package qttools5-examples)"
rm -rf "$work"
mkdir -p "$work"
cp "${original%/*}"/*.{cpp,h,ts} "$here/newcomer/"* "$work"
cd "$work"

step "lupdate finds the texts of today's sources"
quietly $lconvert trollprint_pt.ts -target-language pt -o trollprint_pt.ts
quietly $lupdate main.cpp mainwindow.cpp printpanel.cpp -ts trollprint_pt.ts

step "dorvane import"
"$dorvane" import trollprint_pt.ts --into project
step "dorvane check"
"$dorvane" check project
step "dorvane pack"
key=$(sed -n 's/.*"deliveryKey": "\([^"]*\)".*/\1/p' project/project.json)
"$dorvane" pack project/pt.xlf pt.gz --key "$key"
"$dorvane" unpack pt.gz unpacked.xlf --key "$key"
grep -q '<target>Troll Imprimir 1.0</target>' unpacked.xlf || fail "What was packed is not the translation"

"$dorvane" pack --tree project tree
find tree -name strings.gz | grep -q /pt/strings.gz || fail "The tree has no Portuguese: $(find tree)"

step "dorvane serve"
exec {stop_server}> >(exec "$dorvane" serve project --exit-with-stdin --quiet >server.log 2>&1)
for _ in $(seq 600); do
    grep -qs '^{"servers"' server.log && break
    sleep 0.1
done
url=$(sed -n 's/^Listening on //p' server.log)
[ -n "$url" ] || fail "The server did not start: $(cat server.log)"

# see PICTURE LOG CMAKE_ARGUMENT...: builds the application and looks at its window.
see() {
    local picture=$1 log=$2
    shift 2
    build_project . "build-$log" "$@"
    in_new_home env EYE_PICTURE="$work/$picture" \
        timeout 60 "build-$log/trollprint" >"$log" 2>"$log.err" || fail "The application failed: $(cat "$log" "$log.err")"
}

step "The application before"
see before.png before "$@"
grep -qx 'window: Troll Print 1.0' before || fail "It was to be English before: $(cat before)"

step "Ten lines are added"
sed -i -e '/^#include "mainwindow.h"/a #include <Dorvane/Dorvane.h>' -e "/QApplication app(argc, argv);/r /dev/stdin" main.cpp <<END
    QApplication::setApplicationVersion("1.0");
    Dorvane::startWithProjectId("project", {
        {"mode", "DVOTAServing"},
        {"otaKey", "$key"},
        {"forceLocale", "pt"},
        {"servers", QVariantMap{{"delivery", "$url"}, {"deliveryCdn", "$url/projects"}}},
    });
END
step "The application after"
diff "${original%/*}/main.cpp" main.cpp || true
see after.png after -DTRANSLATED=ON -DCMAKE_PREFIX_PATH="$prefix" "$@"
exec {stop_server}>&-

# The Portuguese of the file that came with the example, in the order of the window.
expected='window: Troll Imprimir 1.0
menu: &Arquivo
action: &Sair
menu: 
menu: A&juda
action: &Sobre
action: Sobre &Qt
box: 2-lados
box: Cores
button: Ativado
button: Desativado
button: Ativado
button: Desativado'
diff <(printf '%s\n' "$expected") after || fail "The application does not show the delivered texts"
[ -s after.png ] || fail "There is no picture of it"
step "It is translated: $work/after.png"
