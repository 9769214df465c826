#!/usr/bin/env bash
# Builds the system, lays out the demo installation in build/owb and shows
# what the companion programs can do, in a demo home of its own so that the
# user's ~/.owb is untouched.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
scripts/install-deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo > /dev/null
cmake --build build -j"$(nproc)"

export OWB="$root/build/owb"
export HOME="$root/build/demo-home"
mkdir -p "$HOME/.owb"
echo "OWB=$OWB"
echo "HOME=$HOME"

ran=0
for step in scripts/demo.d/*.sh; do
  [[ -f "$step" ]] || continue
  echo "== $(basename "$step" .sh)"
  bash "$step"
  ran=1
done
if [[ "$ran" -eq 0 ]]; then
  echo "The shared library is built; its benchmark shows list speed:"
  build/bench/bench_list --benchmark_min_time=0.05
fi
