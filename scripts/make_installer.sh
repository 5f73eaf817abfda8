#!/usr/bin/env bash
# scripts/make_installer.sh BUILD64 BUILD32 FOLDER
#   makes FOLDER/ktmp4-VERSION-setup.exe out of the build folders of both presets for Windows, all of it built. The
#   files that go into it stay in FOLDER/files.
set -euo pipefail

if (($# != 3)); then
  sed -n '/^# scripts/,/^set/s/^# \{0,1\}//p' "${BASH_SOURCE[0]}" >&2
  exit 2
fi
script=$(cd "$(dirname "${BASH_SOURCE[0]}")/../packaging/windows" && pwd)/ktmp4.nsi
mkdir -p "$3"
folder=$(cd "$3" && pwd)
rm -rf "$folder/files" "$folder"/ktmp4-*-setup.exe

# lay BUILD FOLDER COMPONENT...
lay() {
  local component
  for component in "${@:3}"; do
    cmake --install "$1" --strip --component "$component" --prefix "$folder/files/$2" >/dev/null
  done
}
lay "$1" x64 guide module program headers example
lay "$2" x86 guide module program headers example
lay "$2" . setup

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:[A-Z]*=//p' "$1/CMakeCache.txt")
makensis -V2 -WX -NOCD "-DVERSION=$version" "-DSTAGE=$folder/files" "-DOUT=$folder/ktmp4-$version-setup.exe" "$script"
