#!/bin/sh
# Makes RPM packages of a build of the product into a folder.
#   build_rpm.sh BUILD FOLDER
# The build must have CMake's install prefix and build type as the preset "release" has them.
set -eu
umask 022

source=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "$1" && pwd)
mkdir -p "$2"
folder=$(cd "$2" && pwd)
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:[^=]*=//p' "$build/CMakeCache.txt")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
rpmbuild -bb --quiet --define "_topdir $work" --define "kzm_build $build" \
    --define "kzm_version $version" --define "_rpmdir $work/made" \
    --define "_rpmfilename %%{NAME}-%%{VERSION}-%%{RELEASE}.%%{ARCH}.rpm" \
    "$source/packaging/rpm/kzm-logger.spec"
rm -f "$folder"/*.rpm
mv "$work"/made/*.rpm "$folder"
