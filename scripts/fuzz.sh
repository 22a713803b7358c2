#!/usr/bin/env bash
# scripts/fuzz.sh SECONDS [NAME...]: runs each fuzz target, or those named, for so many seconds. New
# inputs go to build/fuzz-corpus; an input that breaks something is left there, and the script fails.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/install.sh

seconds=${1:?usage: scripts/fuzz.sh SECONDS [NAME...]}
shift
install_packages "${build_packages[@]}" "${fuzz_packages[@]}"
build fuzz

for program in build/fuzz/fuzz/fuzz*; do
  [ -x "$program" ] && [ -f "$program" ] || continue
  name=$(basename "$program")
  if [ $# -gt 0 ] && [[ " $* " != *" $name "* ]]; then
    continue
  fi
  echo "== $name, $seconds s"
  found=build/fuzz-corpus/$name
  mkdir -p "$found"
  "$program" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="$found/broken-" "$found" "fuzz/corpus/${name#fuzz}" 2>&1 |
    grep -E 'ERROR|SUMMARY|Test unit|stat::number_of_executed_units|cov:.*DONE|Done' || true
  if compgen -G "$found/broken-*" >/dev/null; then
    echo "$name: broken by $(ls "$found"/broken-*)" >&2
    exit 1
  fi
done
