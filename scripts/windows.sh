#!/usr/bin/env bash
# Checks that what only Windows compiles still does: every source that is for Windows alone or asks for it
# goes through a compiler for that system, with Qt's headers as they are here. Nothing is linked or run.
set -euo pipefail
cd "$(dirname "$0")/.."

headers=$(qmake6 -query QT_INSTALL_HEADERS)
flags=(-std=c++20 -fsyntax-only -Wall -Werror -Wno-attributes -Isrc "-I$headers")
for module in Core Gui Widgets Network PrintSupport; do
  flags+=("-I$headers/Qt$module")
done
mapfile -t sources < <(git ls-files 'src/*_win.cpp' 'src/*/windows*.cpp'
  git grep -lE 'Q_OS_WIN|_WIN32' -- 'src/*.cpp')
printf '%s\n' "${sources[@]}" | sort -u |
  xargs -P "$(nproc)" -n 1 x86_64-w64-mingw32-g++-posix "${flags[@]}"
