#!/bin/sh
# Stands for the agent: a background process, in a session of its own, that does nothing but live. It
# takes as many seconds to come to its end as the file beside it says.
trap 'sleep "$(cat "${0%/*}/seconds-to-stop")"; trap - TERM; kill 0' TERM
while :; do
    sleep 60 &
    wait $!
done
