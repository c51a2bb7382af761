#!/bin/sh
# Controls the agent of a host of the fleet, as its device description says: agent.sh COMMAND. Notes each
# start and each stop.
set -eu
folder=$(dirname "$0")

daemon() {
    start-stop-daemon "$@" --pidfile "$folder/agent.pid"
}

case $1 in
    installed)
        [ ! -e "$folder/not-installed" ]
        ;;
    start)
        if [ -e "$folder/dies" ]; then
            rm "$folder/dies"
            kill -TERM 1 # the host's first process; all others go with it
            exec sleep infinity
        fi
        [ ! -e "$folder/fails" ]
        daemon --start --quiet --background --make-pidfile --startas "$folder/process.sh"
        echo started >>"$folder/log"
        ;;
    stop)
        daemon --stop --quiet --oknodo --retry 5 --remove-pidfile
        echo stopped >>"$folder/log"
        ;;
    status)
        daemon --status
        ;;
esac
