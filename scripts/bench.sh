#!/usr/bin/env bash
# Builds and runs every benchmark (bench/*.cpp), printing their figures.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
scripts/install-deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build -j"$(nproc)"
for b in build/bench/bench_*; do
  [[ -x "$b" ]] || continue
  echo "== $(basename "$b")"
  "$b" "$@"
done
