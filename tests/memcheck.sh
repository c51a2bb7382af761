#!/bin/sh
# Runs the tests of the provider and of all that it stands on, as they were built in the given
# folder, under valgrind's memory checker: no invalid access, no use of an undefined value, and no
# block lost on any exit of its methods. Programs that the tests start are not looked at.
set -eu
cd "$(dirname "$0")/.."
build=$1
log=$build/memcheck.log
status=0

# check PROGRAM FILTER: runs the tests of one program that the filter of names lets through.
check() {
    program=$1 filter=$2
    started=$(date +%s)
    result=0
    valgrind --quiet --leak-check=full \
        --show-leak-kinds=definite,indirect,possible \
        --errors-for-leak-kinds=definite,indirect,possible --error-exitcode=99 \
        "$build/tests/$program" --gtest_brief=1 --gtest_filter="$filter" >"$log" 2>&1 || result=$?
    tests=$(sed -n 's/^\[==========\] \([0-9]*\) tests* .* ran.*/\1/p' "$log" | tail -n 1)
    printf '%-44s %5s tests %5d s\n' "$program" "${tests:-no}" $(($(date +%s) - started))
    if [ "$result" -ne 0 ] || [ "${tests:-0}" -eq 0 ]; then
        grep -v '^--' "$log" >&2 # without valgrind's words about system calls that it does not know
        status=1
    fi
}

# Every exit of both methods, on a platform whose every operation can be made to fail.
check unit/provider/provider_tests '*'

# Left out: of the generated pairs of files all but the first part, which is seed 0.
check unit/settings/settings_tests '*-FromSeed/RoundTrip.*/?*0'

# Left out: faults, which are invalid accesses on purpose; commands that cannot be started, because
# valgrind starts them by a copy of the process that has no way to say so; a test that is traced, which
# valgrind cannot be; and tests of very many objects and of the order of threads, which take minutes here.
check unit/platform/platform_tests "*-*KzmException*\
:DescriptionFault.*\
:VeryDeepObjects.*\
:Rows/AnswerTest.IsAsDocumented/MissingProgram\
:Rows/AnswerTest.IsAsDocumented/Folder\
:Rows/AnswerTest.IsAsDocumented/NoExecutable\
:CTraceUtilityTest.LinesOfManyThreadsStayWhole"

# Left out: faults; and waiting for the lock, which takes long and needs the time to be right.
check system/provider/provider_system_test "*-VendorFault.*\
:LockBetweenProcesses.Held*\
:LockBetweenProcesses.*AtOnce\
:ConcurrentCallers.*"

exit $status
