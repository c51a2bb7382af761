#!/bin/sh
# Runs every fuzz target for some seconds, as many at a time as there are processors: from its
# corpus in the tree, which is not written, into a working corpus below the build folder.
set -eu

if [ $# -ne 2 ]; then
    echo "Usage: $0 BUILD_FOLDER SECONDS" >&2
    exit 2
fi
fuzz=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd)
seconds=$2
work=$build/fuzzing
mkdir -p "$work"

# run_target TARGET: what it found goes to the log, its exit status beside it.
run_target() {
    target=$1
    mkdir -p "$work/$target/corpus"
    rm -rf "$work/$target/found" "$work/$target/status"
    mkdir "$work/$target/found"
    status=0
    "$build/tests/fuzz/fuzz_$target" -max_total_time="$seconds" -dict="$fuzz/$target/$target.dict" \
        -artifact_prefix="$work/$target/found/" -timeout=20 -rss_limit_mb=2048 -max_len=5000 \
        -print_final_stats=1 "$work/$target/corpus" "$fuzz/$target/corpus" \
        >"$work/$target/log" 2>&1 || status=$?
    echo "$status" >"$work/$target/status"
}

# The last value of a word in the log's progress lines, as in "cov: 163 ft: 331 corp: 17/2503b".
progress() {
    sed -n "s/^#[0-9].* $2: \([0-9]*\).*/\1/p" "$work/$1/log" | tail -n 1
}

# report TARGET: one line of figures; after a finding, where it is and how to see it again.
report() {
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/$1/log")
    result=passed
    [ "$(cat "$work/$1/status" 2>/dev/null)" = 0 ] || result=FAILED
    printf '%-13s %10s executions %5s edges %6s features %5s inputs  %s\n' "$1" "${runs:-?}" \
        "$(progress "$1" cov)" "$(progress "$1" ft)" "$(progress "$1" corp)" "$result"
    [ "$result" = FAILED ] || return 0
    grep -a -E '^This does not hold|^SUMMARY|^==[0-9]+==ERROR' "$work/$1/log" | sed 's/^/  /' || true
    for input in "$work/$1/found"/*; do
        [ -e "$input" ] || continue
        echo "  See it again:  $build/tests/fuzz/fuzz_$1 $input"
        echo "  Keep it:       cp $input $fuzz/$1/corpus/TELLING_NAME"
    done
    echo "  Log:           $work/$1/log"
    return 1
}

targets=$(cd "$fuzz" && for folder in */corpus; do echo "${folder%/corpus}"; done)
jobs=$(nproc)
running=0
for target in $targets; do
    run_target "$target" &
    running=$((running + 1))
    if [ "$running" -eq "$jobs" ]; then
        wait
        running=0
    fi
done
wait

failed=0
for target in $targets; do
    report "$target" || failed=1
done
exit "$failed"
