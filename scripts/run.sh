#!/usr/bin/env bash
# Installs what is missing, builds the program, makes an encrypted sample backup of an iPhone and does
# the main job on it: list, unlock, read, export, keep. All that it makes lies in build/sample.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/install.sh

echo "== 1 of 3: what the build needs"
install_packages "${build_packages[@]}"
echo "== 2 of 3: the programs"
build release marrowlight marrowlight-cli samplephone

echo "== 3 of 3: a sample phone, listed, unlocked, read, exported and kept"
sample=$PWD/build/sample
rm -rf "$sample"
mkdir -p "$sample/backups"
export XDG_DATA_HOME=$sample/data # leaves the user's own data alone
printf 'moonlight\n' >"$sample/password"

# show COMMAND...: prints a command as a person would type it, then runs it. The print goes to standard
# error, so that the output of the command can go elsewhere.
show() {
  printf '\n$ %s\n' "${*//$PWD\//}" >&2
  "$@"
}

cli=build/release/src/cli/marrowlight-cli
show build/release/tools/samplephone/samplephone --ios 8 --messages 500 --password-file "$sample/password" \
  --out "$sample/backups"
backup=$(find "$sample/backups" -mindepth 1 -maxdepth 1 -type d)

show $cli backups --root "$sample/backups"
show $cli chats "$backup" --password-file "$sample/password" --country 214
echo
echo "The first messages:"
show $cli messages "$backup" --password-file "$sample/password" --country 214 >"$sample/messages.jsonl"
head -n 5 "$sample/messages.jsonl"
for format in csv txt; do
  show $cli export "$backup" --password-file "$sample/password" --country 214 \
    --format $format --out "$sample/messages.$format"
  head -n 5 "$sample/messages.$format"
done
for format in html pdf; do
  show $cli export "$backup" --password-file "$sample/password" --country 214 \
    --format $format --out "$sample/messages-$format"
  echo "$(find "$sample/messages-$format" -name "*.$format" | wc -l) conversations"
done

show $cli import "$backup" --password-file "$sample/password" --country 214 --into Sample
show $cli databases
start="XDG_DATA_HOME=$sample/data build/release/src/marrowlight"
if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  echo
  echo "Opening the window on the Local Database \"Sample\"; close it to end."
  build/release/src/marrowlight
else
  echo
  echo "There is no display here. Where there is one, see the sample in the window with"
  echo "  $start"
fi
