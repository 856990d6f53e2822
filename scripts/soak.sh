#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Long runs of the reliability checks that the test suite runs briefly.
#   scripts/soak.sh fuzz [seconds]   libFuzzer on the Open path (default 600 s; clang,
#                                    packages clang and libclang-rt-14-dev; build-fuzz/)
#   scripts/soak.sh session [steps]  the random session of tst_reliability, steps per
#                                    seed (default 100000; build/)
# Exits non-zero on a fault. See docs/reliability.md.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
jobs="${ZARN_SOAK_JOBS:-$(nproc)}"
export QT_QPA_PLATFORM=offscreen

case "${1:-}" in
fuzz)
    build="$root/build-fuzz"
    [ -f "$build/CMakeCache.txt" ] ||
        cmake -S "$root" -B "$build" -DCMAKE_CXX_COMPILER=clang++ -DZARN_FUZZ=ON \
            -DZARN_BUILD_TESTS=OFF -DZARN_BUILD_BENCH=OFF
    cmake --build "$build" --target fuzz_open -j"$jobs"
    mkdir -p "$build/fuzz/corpus" "$build/fuzz/artifacts"
    LSAN_OPTIONS="suppressions=$root/fuzz/lsan.supp" \
        "$build/fuzz/fuzz_open" -max_total_time="${2:-600}" -rss_limit_mb=4096 -timeout=5 \
        -artifact_prefix="$build/fuzz/artifacts/" -print_final_stats=1 \
        "$build/fuzz/corpus" "$root/../shared/testdata/png"
    ;;
session)
    build="$root/build"
    [ -f "$build/CMakeCache.txt" ] || cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo
    cmake --build "$build" --target tst_reliability -j"$jobs"
    # QtTest stops a test function after 5 minutes unless told otherwise.
    ZARN_SESSION_STEPS="${2:-100000}" QTEST_FUNCTION_TIMEOUT=86400000 \
        "$build/tests/tst_reliability" randomSession
    ;;
*)
    echo "usage: $0 fuzz [seconds] | session [steps]" >&2
    exit 2
    ;;
esac
