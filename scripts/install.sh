# Sourced by the other scripts: installs the Debian packages that are missing and sets up the build.
# Everything that the project needs on a fresh Debian 12 stands here.

build_packages=(
  g++ cmake ninja-build ccache pkg-config
  qt6-base-dev qt6-svg-dev qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools libgl-dev
  libsqlite3-dev sqlite3 libplist-dev nettle-dev libarchive-dev libxlsxwriter-dev liblzma-dev libheif-dev
  libimobiledevice-dev libusbmuxd-dev libimobiledevice-utils usbmuxd libssl-dev
  qt6-image-formats-plugins
)
# The tests read pages back with these: PDF text in Japanese too, pictures of emoji, valid XHTML by its document
# type; and they look at the manual, at completion in three shells and at what a desktop is told.
check_packages=(
  clang-format clang-tidy g++-mingw-w64-x86-64-posix
  poppler-utils unzip p7zip-full fonts-noto-color-emoji fonts-droid-fallback libxml2-utils w3c-sgml-lib
  appstream desktop-file-utils fish mandoc man-db zsh
)
package_packages=(debhelper fakeroot lintian)
fuzz_packages=(clang libclang-rt-14-dev)

is_installed() {
  dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null | grep -qx installed
}

# install_packages NAME...: installs those that are not there yet.
install_packages() {
  local missing=() package root=()
  for package in "$@"; do
    is_installed "$package" || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  [ "$(id -u)" -eq 0 ] || root=(sudo)
  echo "Installing: ${missing[*]}"
  "${root[@]}" apt-get update -qq
  "${root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# build PRESET [TARGET...]: configures and builds, everything unless targets are named.
build() {
  local preset=$1 targets=()
  shift
  [ $# -eq 0 ] || targets=(--target "$@")
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" "${targets[@]}"
}

# A precompiled header is as good as its sources, and a clone in another folder is the same code; ccache
# wants to be told so.
export CCACHE_SLOPPINESS=${CCACHE_SLOPPINESS:-pch_defines,time_macros}
export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$PWD}
export CCACHE_NOHASHDIR=true
