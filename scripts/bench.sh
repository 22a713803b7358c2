#!/usr/bin/env bash
# Runs every benchmark beside its floor, the least work that any program must do for the same result,
# and prints both, their ratio and the ratio to reach. Arguments: names of benchmarks; none means all.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/install.sh

install_packages "${build_packages[@]}"
build release >/dev/null

printf '%-52s %11s %11s %7s %7s\n' benchmark ours floor ratio wanted
for program in build/release/bench/bench*; do
  [ -x "$program" ] && [ -f "$program" ] || continue
  if [ $# -gt 0 ] && [[ " $* " != *" $(basename "$program") "* ]]; then
    continue
  fi
  "$program"
done
