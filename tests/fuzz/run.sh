#!/bin/sh
# Runs the fuzz targets for so many seconds in all, each for an equal share, as many at a time as there
# are processors or as is said: from its corpus in the tree, which is not written, into a working
# corpus below the build folder, which the next run begins with.
set -eu

# "--one TARGET" in front: only this target, without a report.
only=
if [ "${1:-}" = --one ]; then
    only=$2
    shift 2
fi
if [ $# -lt 2 ] || [ $# -gt 3 ]; then
    echo "Usage: $0 BUILD_FOLDER SECONDS [TARGETS_AT_A_TIME]" >&2
    exit 2
fi
fuzz=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd)
work=$build/fuzzing

# The size of a target's longest seed below 1000 bytes.
longest_seed() {
    find "$fuzz/$1/corpus" -type f -size -1000c -exec wc -c {} + |
        awk '$2 != "total" && $1 > longest { longest = $1 } END { print longest + 0 }'
}

# No input is longer than that, so that there are many: the few seeds beyond it are cut here, and run
# whole by the ordinary tests. Entropic scheduling takes more time than it saves with targets as fast
# as these.
fuzz_for() {
    "$build/tests/fuzz/fuzz_$1" -max_total_time="$2" -dict="$fuzz/$1/$1.dict" \
        -artifact_prefix="$work/$1/found/" -timeout=20 -rss_limit_mb=2048 \
        -max_len="$(longest_seed "$1")" -entropic=0 -print_final_stats=1 \
        "$work/$1/corpus" "$fuzz/$1/corpus" >"$work/$1/log" 2>&1
}

# run_target TARGET SECONDS: what it found goes to the log, its exit status and the processor time
# that it took beside it.
run_target() {
    mkdir -p "$work/$1/corpus"
    rm -rf "$work/$1/found" "$work/$1/status"
    mkdir "$work/$1/found"
    status=0
    fuzz_for "$1" "$2" || status=$?
    echo "$status" >"$work/$1/status"
    times >"$work/$1/times" # in this shell, not in one of a pipe
}

# The last value of a word in the log's progress lines, as in "cov: 163 ft: 331 corp: 17/2503b".
progress() {
    sed -n "s/^#[0-9].* $2: \([0-9]*\).*/\1/p" "$work/$1/log" | tail -n 1
}

# report TARGET: one line of figures; after a finding, where it is and how to see it again.
report() {
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/$1/log")
    seconds=$(tr 'ms' '  ' <"$work/$1/times" |
        awk 'NR == 2 { printf "%.1f", $1 * 60 + $2 + $3 * 60 + $4 }')
    result=passed
    [ "$(cat "$work/$1/status" 2>/dev/null)" = 0 ] || result=FAILED
    printf '%-18s %11s executions %8s s %7s/s %5s edges %6s features  %s\n' "$1" "${runs:-?}" \
        "$seconds" "$(echo "${runs:-0} $seconds" | awk '{ printf "%d", $1 / ($2 + 0.01) }')" \
        "$(progress "$1" cov)" "$(progress "$1" ft)" "$result"
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

if [ -n "$only" ]; then
    run_target "$only" "$2"
    exit 0
fi

targets=$(cd "$fuzz" && for folder in */corpus; do echo "${folder%/corpus}"; done)
jobs=${3:-$(nproc)}
# shellcheck disable=SC2086 # a list of words
share=$(($2 * jobs / $(printf '%s\n' $targets | wc -l)))
[ "$share" -gt 0 ] || share=1
# shellcheck disable=SC2086
printf '%s\n' $targets | xargs -P "$jobs" -I '{}' "$0" --one '{}' "$build" "$share"

failed=0
for target in $targets; do
    report "$target" || failed=1
done
cat "$work"/*/log | sed -n 's/^stat::number_of_executed_units: *//p' |
    awk '{ sum += $1 } END { printf "%d executions in all\n", sum }'
echo "The seconds are those of the processor."
exit "$failed"
