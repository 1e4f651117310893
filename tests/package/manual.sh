#!/usr/bin/env bash
# manual.sh TOOL PREFIX: the installed tool runs, and its manual page has the commands that it has.
. "$(dirname "$0")/common.sh"
tool=$1 page=$2
[[ $(in_new_home "$tool" --version) == "dorvane "[1-9]*.*.* ]] || fail "$tool --version says $("$tool" --version)"
commands=$(in_new_home "$tool" --help | sed -n 's/^  \([a-z]*\) .*/\1/p' | sort)
documented=$(sed -n '/^\.SH COMMANDS/,/^\.SH EXIT/{s/^\.BI* \([a-z][a-z]*\).*/\1/p}' "$page" | sort -u)
[ -n "$commands" ] || fail "$tool --help names no commands"
diff --label "dorvane --help" --label "man/dorvane.1" <(echo "$commands") <(echo "$documented") >&2 ||
    fail "man/dorvane.1 has other commands than the tool"
