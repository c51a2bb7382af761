#!/bin/sh
# Tells which of the product's lines its tests reach, and fails where that is less than it should be.
# The build folder is that of the preset `dev`, as the preset `coverage` has it: only the product is
# compiled anew, so that it counts its lines, and again by the next build by `dev`. The programs are built
# and run here, so that what is counted is what they do now; what they run as child processes counts, too.
set -eu
cd "$(dirname "$0")/.."
build=$1

programs="settings_tests provider_tests platform_tests history_tests host_tests loggerctl_output_tests
    loggerctl_unit_test loggerctl_files_test loggerctl_system_test loggerctl_set_test
    loggerctl_state_test loggerctl_doctor_test host_fault_tests host_command_tests host_platform_tests
    host_cancellation_tests host_daemon_tests serverbase_tests providerd_door_tests
    providerd_door_test call_queue_test worker_system_test wbemd_http_tests wbemd_operations_tests
    server_http_test server_whole_test"

# Left out: those that count time or system calls, which counting lines adds to, and those whose lines
# are the others'.
filter='-*Quick*:At/DyingTest.LeavesWhatIsWhole/*:At/Interrupted*:FromSeed/*:SetTogether.*:CallerLock.GivesUpWhenTheLimit*:*TheGreatestRequests*'

folders="provider settings configfile platform history host schema loggerctl serverbase providerd wbemd"

# The least share of a folder's lines, in percent. A line that no test can reach is marked
# GCOVR_EXCL_LINE, with the reason beside it.
least_lines() {
    case $1 in
        loggerctl | providerd | wbemd) echo 95 ;;
        *) echo 100 ;;
    esac
}

# The least share of branches, of the folders that have nothing but the provider's own logic.
least_branches=85
with_branches='^(provider|settings|configfile)/'

# A line without a condition has branches of the compiler's alone: each of its instructions that may
# fault has one into the clean-up. They are left out, and so are those of calls that may throw.
no_condition='^(?!.*(\bif \(|\bwhile \(|\bfor \(|\bcase | \? | && | &&$| \|\| | \|\|$)).*$'

# quietly LOG COMMAND...: shows what it said when it fails.
quietly() {
    log=$1
    shift
    "$@" >"$log" 2>&1 || {
        cat "$log" >&2
        exit 1
    }
}

# shellcheck disable=SC2086 # a list of words
quietly "$build/coverage-build.log" cmake --build "$build" --target $programs

# What earlier runs counted goes. Tests run programs as other users, too, who could not make the files.
find "$build" -name '*.gcda' -delete
find "$build" -name '*.gcno' | sed 's/gcno$/gcda/' | while read -r file; do
    : >"$file"
    chmod a+rw "$file"
done
wanted=$(echo "$programs" | tr -s ' \n' '|')
GTEST_FILTER=$filter quietly "$build/coverage-tests.log" ctest --test-dir "$build" \
    --parallel $(($(nproc) * 3)) --output-on-failure --tests-regex "^($wanted)(\.[0-9]+)?\$"
find "$build" -name '*.gcda' -size 0 -delete # of what did not run

counts=$build/coverage.json
# The provider's tests compile its sources themselves, those of the settings their headers, and those
# of the front end its main function.
paths="$build/tests/unit/provider $build/tests/unit/settings $build/tests/system/server/http"
for folder in $folders; do
    [ ! -d "$build/$folder" ] || paths="$paths $build/$folder"
done
# One after the other: of a source that is compiled twice, two at once would take away each other's
# results, and gcovr would wait for ever.
# shellcheck disable=SC2086
quietly "$build/coverage-gcovr.log" gcovr --root . $paths \
    --filter "^($(echo "$folders" | tr ' ' '|'))/" --exclude-throw-branches \
    --exclude-branches-by-pattern "$no_condition" --json "$counts"

report=$build/coverage-report
mkdir -p "$report"
gcovr --root . --add-tracefile "$counts" --html-details "$report/index.html"
echo "Lines and branches, line by line: $report/index.html"

# check NAME FILTER OPTION...: the sums on one line; the lines that are missed as well when there are too
# many.
check() {
    name=$1 which=$2
    shift 2
    code=0
    gcovr --root . --add-tracefile "$counts" --filter "$which" "$@" --txt "$build/coverage.txt" \
        --print-summary >"$build/coverage-summary.txt" 2>/dev/null || code=$?
    sed -n "s/^\(lines\|branches\): /$name \1: /p" "$build/coverage-summary.txt"
    if [ "$code" -ne 0 ]; then
        echo "That is less than is asked for ($*):" >&2
        grep -v ' 100% *$' "$build/coverage.txt" >&2
        status=1
    fi
}

status=0
for folder in $folders; do
    check "$folder" "^$folder/" --fail-under-line "$(least_lines "$folder")"
done
check "provider and below" "$with_branches" --fail-under-branch "$least_branches"
exit $status
