#!/bin/sh
# own_root.sh ROOT COMMAND...
#
# Runs a command that uses the files below ROOT. Where the kernel allows it, the command has a ROOT of
# its own, empty and in memory, in a private mount namespace; elsewhere such commands take turns.
set -eu
root=$1
shift
mkdir -p "$root"
if unshare --mount true 2>/dev/null; then
    # shellcheck disable=SC2016 # for the inner shell
    exec unshare --mount sh -c 'mount -t tmpfs -o mode=0755 tests "$0" && exec "$@"' "$root" "$@"
fi
exec flock "$root.lock" "$@"
