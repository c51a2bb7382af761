#!/bin/sh
# Runs inside a private mount namespace: installs the product and goes through its methods.
set -eu
build=$1
agent=/opt/veltaro/agent
config=/etc/opt/veltaro/ardenvale

mkdir -p /etc/opt /opt /var/opt
for folder in /etc/opt /opt /var/opt; do
    mount -t tmpfs -o mode=755 none $folder
done
DESTDIR=/ cmake --install "$build" --prefix / >/dev/null
mkdir -p "$config" "$agent" /opt/veltaro/kzm/provider/device
PATH=/opt/veltaro/kzm/bin:$PATH

cat >"$config/agent.cfg" <<'TEXT'
SyslogOutput=True
InformationAlert=False
WarningAlert=True
ObstacleAlert=True
TEXT
cat >"$config/alert.cfg" <<'TEXT'
CPU=(True, 60, 5, 90)
MEMORY=(False, 30, 3, 85)
FILESYSTEM=(True, 300, 2)
FSNAME="/opt"   (70)
TEXT
cat >/opt/veltaro/kzm/provider/device/Logger.conf <<TEXT
CheckInstall=/usr/bin/test -f $agent/installed
ServiceStop=/bin/touch $agent/stopped
ServiceStart=/bin/touch $agent/started
TEXT

expect() {
    if [ "$2" != "$3" ]; then
        printf '%s: expected "%s", found "%s"\n' "$1" "$2" "$3" >&2
        exit 1
    fi
}

status=0
loggerctl get >/dev/null 2>&1 || status=$?
expect "exit status without the agent" 3 $status
[ ! -e /opt/veltaro/kzm/provider/tmp/Logger/lockfile ] || {
    echo "the lock was taken for an agent that is not installed" >&2
    exit 1
}

touch "$agent/installed"
expect "the settings" "90 true 70" \
    "$(loggerctl get cpu.threshold 'fs[/opt].enable' 'fs[/opt].threshold' | tr '\n' ' ' | sed 's/ $//')"
expect "mode of the lock file" 600 \
    "$(stat -c %a /opt/veltaro/kzm/provider/tmp/Logger/lockfile)"
expect "file systems listed" "$(/bin/mount | sed 's/.* on \(.*\) type .*/\1/' | sort -u | wc -l)" \
    "$(loggerctl get --json | grep -c '"VolumeName"')"

cp "$config/alert.cfg" "$agent/alert.cfg.before"
loggerctl set cpu.threshold=75 >/dev/null
expect "the line after a change" "CPU=(True, 60, 5, 75)" "$(head -n 1 "$config/alert.cfg")"
expect "what was asked of the service" "started stopped" \
    "$(cd "$agent" && echo start* stop*)"
expect "copies in the history" 1 "$(loggerctl history --json | grep -c '"Reason"')"
loggerctl restore >/dev/null
cmp "$agent/alert.cfg.before" "$config/alert.cfg"
