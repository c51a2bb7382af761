#!/bin/sh
# Nobody but the owner can write what the installation makes, and nobody else can enter the lock file's
# folder.
#   installed_modes.sh BUILD UMASK
set -eu
build=$1
umask "$2"

stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
chmod 0700 "$stage"
DESTDIR=$stage cmake --install "$build" >"$stage.log" 2>&1 || {
    cat "$stage.log" >&2
    exit 1
}
rm -f "$stage.log"

writable=$(find "$stage" -mindepth 1 ! -type l -perm /022)
if [ -n "$writable" ]; then
    printf 'Others than the owner can write these (umask %s):\n%s\n' "$2" "$writable" >&2
    exit 1
fi
folder=$(find "$stage" -type d -path '*/provider/tmp/Logger')
if [ "$(stat -c %a "$folder")" != 700 ]; then
    echo "Others than the owner can enter the lock file's folder." >&2
    exit 1
fi
