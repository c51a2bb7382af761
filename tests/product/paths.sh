#!/bin/sh
# The provider as it is installed holds the documented paths and the documented mount command, whole, and
# nothing installed names a folder of the machine that it was built on.
set -eu
build=$(cd "$1" && pwd)
source=$(cd "$(dirname "$0")/../.." && pwd)
installed=$(mktemp -d)
trap 'rm -rf "$installed"' EXIT

cmake --install "$build" --prefix "$installed" >/dev/null
provider=$installed/opt/veltaro/kzm/provider/lib/libkzmp_VELTARO_ToolServiceLogger.so

for text in "/bin/mount 2> /dev/null" \
    "/etc/opt/veltaro/ardenvale/agent.cfg" \
    "/etc/opt/veltaro/ardenvale/alert.cfg" \
    "/opt/veltaro/kzm/provider/tmp/Logger/lockfile"; do
    strings -a "$provider" | grep -Fxq "$text" || {
        echo "the provider library does not hold \"$text\"" >&2
        exit 1
    }
done

if grep -rlF "$source" "$installed"; then
    echo "these files name the folder that they were built in" >&2
    exit 1
fi
