#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Long reliability runs of the checks that the test suite runs briefly.
#   scripts/soak.sh fuzz [seconds]          libFuzzer on the Open path (default 600 s)
#   scripts/soak.sh monkey [seed] [steps]   the monkey, 100,000 steps by default, leak-checked
#   scripts/soak.sh extremes                extreme sizes including a 12000x8000 picture
# Each prints its figures (cases, crashes, leaks) and exits non-zero on a fault.
# Build directories (configured when missing): build-fuzz (clang, ZARN_FUZZ),
# build-asan (ZARN_SANITIZE), build-rel9 (RelWithDebInfo). See docs/reliability.md.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
jobs="${ZARN_SOAK_JOBS:-2}"
limit_mib="$(sed -n 's/.*kImageAllocationLimitMiB = \([0-9]*\);.*/\1/p' "$root/src/app/imagefile.h")"
export QT_QPA_PLATFORM=offscreen

configure() { # dir, cmake arguments...
    local dir="$1"
    shift
    [ -f "$dir/CMakeCache.txt" ] || cmake -S "$root" -B "$dir" "$@" >/dev/null
}

soak_fuzz() {
    local seconds="${1:-600}" build="$root/build-fuzz"
    if ! command -v clang++ >/dev/null; then
        echo "soak fuzz: no clang++; falling back to the mutation replay of build-rel9" >&2
        soak_fuzz_replay "$seconds"
        return
    fi
    configure "$build" -DCMAKE_CXX_COMPILER=clang++ -DZARN_FUZZ=ON -DZARN_BUILD_TESTS=OFF \
        -DZARN_BUILD_BENCH=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo
    cmake --build "$build" --target fuzz_open zarn_fuzz_seeds -j"$jobs" >/dev/null
    local out="$build/fuzz"
    mkdir -p "$out/corpus" "$out/artifacts"
    "$out/zarn_fuzz_seeds" "$out/seeds" 2>/dev/null
    local before after log="$out/soak.log"
    before="$(find "$out/artifacts" -type f | wc -l)"
    set +e
    "$out/fuzz_open" -max_total_time="$seconds" -timeout=5 -seed="${ZARN_FUZZ_SEED:-0}" \
        -rss_limit_mb=$((3 * limit_mib + 1024)) -malloc_limit_mb="$limit_mib" \
        -artifact_prefix="$out/artifacts/" -print_final_stats=1 \
        "$out/corpus" "$out/seeds" "$root/../shared/testdata/png" >"$log" 2>&1
    local status=$?
    set -e
    after="$(find "$out/artifacts" -type f | wc -l)"
    local runs
    runs="$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)"
    echo "soak fuzz: ${runs:-?} cases in ${seconds} s, exit status $status," \
        "$((after - before)) new crash/hang/oom/leak inputs in $out/artifacts (log: $log)"
    [ "$status" -eq 0 ] && [ "$after" -eq "$before" ]
}

soak_fuzz_replay() {
    local seconds="$1" build="$root/build-rel9"
    configure "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo
    cmake --build "$build" --target fuzz_open_replay zarn_fuzz_seeds -j"$jobs" >/dev/null
    "$build/fuzz/zarn_fuzz_seeds" "$build/fuzz/seeds" 2>/dev/null
    # About 2000 mutations a second in this build.
    "$build/fuzz/fuzz_open_replay" --mutations=$((seconds * 2000)) --seed="${ZARN_FUZZ_SEED:-$RANDOM}" \
        --timeout=5 --rss-limit-mb=$((3 * limit_mib + 512)) --artifacts="$build/fuzz/artifacts" \
        "$build/fuzz/seeds" "$root/../shared/testdata/png" 2>/dev/null
}

soak_monkey() {
    local seed="${1:-$RANDOM}" steps="${2:-100000}" build="${ZARN_SOAK_BUILD:-$root/build-asan}"
    if [ "$build" = "$root/build-asan" ]; then
        configure "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZARN_SANITIZE=ON
    else
        configure "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo
    fi
    cmake --build "$build" --target tst_monkey -j"$jobs" >/dev/null
    echo "soak monkey: seed $seed, $steps steps, build $build"
    ZARN_MONKEY_SEED="$seed" ZARN_MONKEY_STEPS="$steps" \
        ASAN_OPTIONS=detect_leaks=1 \
        LSAN_OPTIONS="suppressions=$root/tests/lsan.supp:print_suppressions=0" \
        "$build/tests/tst_monkey" -maxwarnings 0 2>&1 | grep -v "propagateSizeHints" |
        grep -E "monkey:|FAIL|PASS.*randomSessions|Totals|ERROR|SUMMARY|seed [0-9]+, step|^  [0-9]+:"
    local status="${PIPESTATUS[0]}"
    [ "$status" -eq 0 ] && echo "soak monkey: 0 crashes, 0 invariant failures, 0 leaks" ||
        echo "soak monkey: FAILED (exit status $status; rerun with the seed above)"
    return "$status"
}

soak_extremes() {
    local build="${ZARN_SOAK_BUILD:-$root/build-rel9}"
    configure "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo
    cmake --build "$build" --target tst_extremes -j"$jobs" >/dev/null
    ZARN_EXTREMES_HUGE=1 "$build/tests/tst_extremes" -maxwarnings 0 2>&1 |
        grep -v "propagateSizeHints" | grep -E "^(PASS|FAIL|SKIP|Totals)|Loc:|Actual|Expected"
    return "${PIPESTATUS[0]}"
}

case "${1:-}" in
fuzz) soak_fuzz "${@:2}" ;;
monkey) soak_monkey "${@:2}" ;;
extremes) soak_extremes ;;
*)
    echo "usage: $0 fuzz [seconds] | monkey [seed] [steps] | extremes" >&2
    exit 2
    ;;
esac
