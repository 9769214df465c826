#!/usr/bin/env bash
# Installs missing Debian packages, configures, builds and runs every test.
#
#   scripts/test.sh              plain build in build/
#   scripts/test.sh --sanitize   AddressSanitizer + UBSan build in build-asan/
#   scripts/test.sh --fuzz SECS  clang libFuzzer build in build-fuzz/, each
#                                target run for SECS seconds under the sanitizers
#                                (OWB_FUZZ_SEED picks the seed; 0 = random)
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
scripts/install-deps.sh

jobs="$(nproc)"
case "${1:-}" in
  "")
    cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
    cmake --build build -j"$jobs"
    ctest --test-dir build --output-on-failure -j"$jobs"
    ;;
  --sanitize)
    export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1"
    export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
    cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DOWB_SANITIZE=ON -DOWB_BENCH=OFF
    cmake --build build-asan -j"$jobs"
    ctest --test-dir build-asan --output-on-failure -j"$jobs"
    ;;
  --fuzz)
    secs="${2:-20}"
    # A fixed seed by default keeps a gate run repeatable; OWB_FUZZ_SEED=0
    # lets libFuzzer pick one for exploratory runs.
    seed="${OWB_FUZZ_SEED:-1}"
    CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DOWB_FUZZ=ON -DOWB_SANITIZE=ON -DOWB_BENCH=OFF
    cmake --build build-fuzz -j"$jobs" --target fuzz_all
    for target in build-fuzz/fuzz/fuzz_*; do
      [[ -x "$target" ]] || continue
      name="$(basename "$target")"; name="${name#fuzz_}"
      corpus="build-fuzz/corpus/$name"
      mkdir -p "$corpus"
      seeds=()
      [[ -d "fuzz/corpus/$name" ]] && seeds+=("fuzz/corpus/$name")
      mkdir -p build-fuzz/artifacts
      echo "fuzzing $name for ${secs}s (seed $seed)"
      "$target" -max_total_time="$secs" -seed="$seed" -rss_limit_mb=2048 -max_len=65536 \
        -artifact_prefix="build-fuzz/artifacts/$name-" \
        "$corpus" "${seeds[@]}" > "build-fuzz/$name.log" 2>&1 \
        || { tail -50 "build-fuzz/$name.log"; ls build-fuzz/artifacts; exit 1; }
    done
    ;;
  *)
    echo "usage: scripts/test.sh [--sanitize | --fuzz SECONDS]" >&2
    exit 2
    ;;
esac
