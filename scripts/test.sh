#!/usr/bin/env bash
# Installs what is missing, checks the formatting, builds and runs all tests: once as people get the
# program, once under AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/install.sh

install_packages "${build_packages[@]}" "${check_packages[@]}"

echo "== Formatting"
scripts/format.sh --check

echo "== Windows's own sources"
scripts/windows.sh

echo "== What is installed"
build release
scripts/installed.sh build/release

for preset in release sanitize; do
  echo "== Tests: $preset"
  build "$preset"
  ctest --preset "$preset" -j "$(nproc)"
done
