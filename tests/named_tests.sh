#!/bin/sh
# named_tests.sh PAGE [FOLDER]: a page and the tests keep together. Every test that the page names exists,
# and every test of the folder is named there.
set -eu
cd "$(dirname "$0")/.."
page=$1
folder=${2-}
status=0

# Suite.Name of every test in the sources below the folder.
tests_below() {
    find "$1" -name '*.cpp' -exec cat {} + | tr '\n' ' ' |
        grep -Eo '\bTEST(_[FP])?\( *[A-Za-z0-9]+, *[A-Za-z0-9]+ *\)' |
        sed -E 's/.*\( *([A-Za-z0-9]+), *([A-Za-z0-9]+) *\)/\1.\2/' | sort -u
}

# Complains about the lines of standard input.
complain() {
    while read -r name; do
        echo "$name $1" >&2
        status=1
    done
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tests_below tests >"$work/all"
if [ -n "$folder" ]; then
    tests_below "$folder"
fi >"$work/own"
# shellcheck disable=SC2016 # the quotes of the page
grep -Eo '`[A-Z][A-Za-z0-9]+\.[A-Z][A-Za-z0-9]+`' "$page" | tr -d '`' | sort -u >"$work/named"
# shellcheck disable=SC2016
grep -Eo '`tests/[a-z0-9_/]+\.sh`' "$page" | tr -d '`' | sort -u >"$work/scripts"

comm -23 "$work/named" "$work/all" >"$work/unknown"
comm -13 "$work/named" "$work/own" >"$work/unnamed"
while read -r script; do
    [ -x "$script" ] || echo "$script"
done <"$work/scripts" >>"$work/unknown"

complain "is named in $page, and there is no such test." <"$work/unknown"
complain "is a test that $page does not name." <"$work/unnamed"
if [ ! -s "$work/named" ] || { [ -n "$folder" ] && [ ! -s "$work/own" ]; }; then
    echo "No tests were found in $page${folder:+ or in $folder}." >&2
    status=1
fi
exit $status
