#!/bin/sh
# The shipped libraries hold exactly the documented paths, and the documented mount command.
set -eu
provider=$1
base=$2

strings_with_slash() {
    strings -a "$1" | grep -E '^/(etc|opt|bin|var)/' | sort -u
}

compare() {
    if [ "$2" != "$3" ]; then
        printf 'Paths in %s.\nExpected:\n%s\nFound:\n%s\n' "$1" "$2" "$3" >&2
        exit 1
    fi
}

compare "$provider" "/bin/mount 2> /dev/null
/etc/opt/veltaro/ardenvale/agent.cfg
/etc/opt/veltaro/ardenvale/alert.cfg
/opt/veltaro/kzm/provider/tmp/Logger/lockfile" "$(strings_with_slash "$provider")"

compare "$base" "/opt/veltaro/kzm/provider/device" "$(strings_with_slash "$base")"
