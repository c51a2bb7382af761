#!/bin/sh
# Tells which of the product's lines and branches its tests reach. The build folder is one of the preset
# `coverage`. The programs are built and run here, so that what is counted is what they do now.
set -eu
cd "$(dirname "$0")/.."
build=$1

# Every line. One that no test can reach is marked GCOVR_EXCL_LINE, with the reason above it.
least_lines=100
least_branches=85

# A line without a condition has branches of the compiler's alone: each of its instructions that may
# fault has one into the clean-up. They are left out, and so are those of calls that may throw.
no_condition='^(?!.*(\bif \(|\bwhile \(|\bfor \(|\bcase | \? | && | &&$| \|\| | \|\|$)).*$'

# run_tests PROGRAM FILTER
run_tests() {
    log=$build/coverage-tests.log
    GTEST_BRIEF=1 "$build/tests/$1" --gtest_filter="$2" >"$log" 2>&1 || {
        cat "$log" >&2
        exit 1
    }
}

cmake --build "$build" --target settings_tests provider_tests provider_system_test \
    >"$build/coverage-build.log" 2>&1 || {
    cat "$build/coverage-build.log" >&2
    exit 1
}

find "$build" -name '*.gcda' -delete # what earlier runs counted
run_tests unit/settings/settings_tests '-FromSeed/RoundTrip.*' # its lines are those of the others
run_tests unit/provider/provider_tests '*'
run_tests system/provider/provider_system_test '*'

report=$build/coverage-report
mkdir -p "$report"
echo "Lines and branches, line by line: $report/index.html"
gcovr --root . --filter '(provider|settings|configfile)/' "$build" \
    --exclude-throw-branches --exclude-branches-by-pattern "$no_condition" \
    --html-details "$report/index.html" --txt - --print-summary \
    --fail-under-line "$least_lines" --fail-under-branch "$least_branches"
