#!/bin/sh
# The shipped library exports `create` and nothing else, and its tables are read-only before the first
# call (full RELRO).
set -eu
library=$1

exported=$(nm -D --defined-only "$library" | awk '{ print $NF }')
if [ "$exported" != create ]; then
    printf 'Expected the single export create of %s, found:\n%s\n' "$library" "$exported" >&2
    exit 1
fi

readelf --wide --program-headers "$library" | grep -q GNU_RELRO || {
    echo "$library has no read-only relocations" >&2
    exit 1
}
readelf --wide --dynamic "$library" | grep -Eq '\((BIND_NOW|FLAGS)\).*(BIND_NOW|NOW)|\(BIND_NOW\)' || {
    echo "$library binds its symbols lazily" >&2
    exit 1
}

# Beyond the platform it needs the language's run-time alone.
needed=$(readelf --wide --dynamic "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' |
    grep -Ev '^(libkzm_(ComLib|ProviderBase)\.so|libstdc\+\+\.so\.6|libgcc_s\.so\.1|libc\.so\.6|libm\.so\.6)$' ||
    true)
if [ -n "$needed" ]; then
    printf '%s needs more than the platform and the run-time:\n%s\n' "$library" "$needed" >&2
    exit 1
fi
