#!/usr/bin/env bash
# scripts/package.sh deb: makes the Debian packages of what git has committed, checks them with lintian, and
# leaves them in build/package. scripts/package.sh try: installs them in a bare Debian of their own and does
# the main job there.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/install.sh

packages=$PWD/build/package

make_deb() {
  install_packages "${build_packages[@]}" "${package_packages[@]}"
  rm -rf "$packages"
  mkdir -p "$packages/marrowlight"
  git archive HEAD | tar -x -C "$packages/marrowlight"
  (cd "$packages/marrowlight" && PATH=/usr/lib/ccache:$PATH dpkg-buildpackage --build=binary --unsigned-changes)
  lintian --allow-root --fail-on error,warning "$packages"/*.changes
}

# A chroot has nothing of this machine, so that what a package forgot to depend on is missing.
try_deb() {
  install_packages mmdebstrap
  mmdebstrap --variant=apt --include=fonts-dejavu-core,poppler-utils,sqlite3 \
    --customize-hook="cp '$packages'/*.deb '$PWD/debian/tests/main-job' \"\$1/tmp\"" \
    --customize-hook='chroot "$1" sh -c "apt-get install -y --no-install-recommends /tmp/*.deb"' \
    --customize-hook='chroot "$1" env LC_ALL=C.UTF-8 sh /tmp/main-job' \
    --customize-hook='chroot "$1" env QT_QPA_PLATFORM=offscreen marrowlight --version' \
    bookworm /dev/null
}

case ${1:-} in
  deb) make_deb ;;
  try) try_deb ;;
  *) echo "usage: scripts/package.sh deb|try" >&2; exit 2 ;;
esac
