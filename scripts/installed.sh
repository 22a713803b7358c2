#!/usr/bin/env bash
# scripts/installed.sh BUILD: installs what was built there into a folder of its own, and has the desktop file,
# the metainfo, the pages of the manual and completion judged by the tools of their kind. A word from any of
# them fails it, and so does a release that isn't written down everywhere.
set -euo pipefail
cd "$(dirname "$0")/.."

root=build/installed
rm -rf "$root"
DESTDIR=$PWD/$root cmake --install "${1:?usage: scripts/installed.sh BUILD}" --prefix /usr >/dev/null
share=$root/usr/share
said=0

# silent WHAT COMMAND...: the command has to succeed and to say nothing.
silent() {
  local what=$1 words
  shift
  if ! words=$("$@" 2>&1) || [ -n "$words" ]; then
    printf '%s: %s\n' "$what" "$words" >&2
    said=1
  fi
}
accepted() { "$@" >/dev/null; }
metainfo() { appstreamcli validate --no-net --pedantic "$1" | grep -v '^✔\|^$' || true; }
rendered() { man --warnings --local-file "$1" >/dev/null; }

id=$(basename "$share"/applications/*.desktop .desktop)
silent "desktop file" desktop-file-validate "$share/applications/$id.desktop"
silent metainfo metainfo "$share/metainfo/$id.metainfo.xml"
silent "icon" test -s "$share/icons/hicolor/512x512/apps/$id.png" -a -s "$share/icons/hicolor/symbolic/apps/$id-symbolic.svg"
for page in "$share"/man/man?/*; do
  silent "$page" mandoc -T lint -W warning "$page"
  silent "$page" rendered "$page"
done
silent bash bash -n "$share/bash-completion/completions/marrowlight-cli"
silent zsh zsh -n "$share/zsh/site-functions/_marrowlight-cli"
silent fish fish --no-execute "$share/fish/vendor_completions.d/marrowlight-cli.fish"

release=$(sed -n 's/^project(.* VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
silent "release $release in the change log" accepted grep -m 1 -A 0 "^## $release " CHANGELOG.md
silent "release $release in the metainfo" accepted grep "<release version=\"$release\"" packaging/marrowlight.metainfo.xml.in
silent "release $release in the package" accepted grep "^marrowlight ($release)" debian/changelog
exit "$said"
