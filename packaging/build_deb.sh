#!/bin/sh
# Makes the Debian packages in a folder: of a build by the preset "release", or of one of its own there.
#   build_deb.sh FOLDER [BUILD]
# Their version is CMake's; their time is that of the last commit, or SOURCE_DATE_EPOCH where it is set:
# the same sources give the same bytes in any folder.
set -eu
umask 022

source=$(cd "$(dirname "$0")/.." && pwd)
mkdir -p "$1/source"
folder=$(cd "$1" && pwd)
work=$folder/source
build=${2:+$(realpath --relative-to="$work" "$2")}

version=$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' "$source/CMakeLists.txt")
time=${SOURCE_DATE_EPOCH:-$(git -C "$source" log -1 --format=%ct 2>/dev/null ||
    stat -c %Y "$source/CHANGELOG.md")}

rm -rf "$work/debian"
rm -f "$folder"/*.deb "$folder"/*.changes "$folder"/*.buildinfo
cp -r "$source/packaging/debian" "$work/debian"
cat >"$work/debian/changelog" <<TEXT
kzm-logger ($version) unstable; urgency=medium

  * What has changed is said in the product's CHANGELOG.md.

 -- $(sed -n 's/^Maintainer: //p' "$source/packaging/debian/control")  $(LC_ALL=C date -u -R -d "@$time")
TEXT

cd "$work"
KZM_SOURCE=$(realpath --relative-to=. "$source") KZM_BUILD=$build \
    dpkg-buildpackage --unsigned-source --unsigned-changes --build=binary --no-pre-clean
