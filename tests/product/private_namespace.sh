#!/bin/sh
# One whole run of the product, with its documented paths, in a mount namespace of its own: /etc/opt and
# /opt are empty there and the changes stay inside. Skipped (77) where the kernel allows no such
# namespace.
set -eu
tests=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd)

if [ "$(id -u)" -eq 0 ]; then
    namespace="unshare --mount"
else
    namespace="unshare --mount --map-root-user"
fi
if ! $namespace true 2>/dev/null; then
    echo "This kernel allows no private mount namespace."
    exit 77
fi
exec $namespace "$tests/inside_namespace.sh" "$build"
