#!/usr/bin/env bash
# Formats the C++ files that git knows; with --check it changes nothing and fails where one would change.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/install.sh

install_packages clang-format
change=(-i)
[ "${1:-}" != --check ] || change=(--dry-run -Werror)
git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format "${change[@]}"
