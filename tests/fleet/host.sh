#!/bin/sh
# host.sh FILES ADDRESS
#
# Runs as the first process of a host, in namespaces of its own: takes the host's own folders from FILES,
# mounts its file systems, starts its agent and becomes its sshd.
set -eu
files=$1
address=$2

if [ -e "$files/overlay" ]; then # packages can be installed on it
    for name in etc usr var; do
        mkdir -p "$files/overlay/$name" "$files/overlay/work-$name"
        mount -t overlay -o \
            "lowerdir=/$name,upperdir=$files/overlay/$name,workdir=$files/overlay/work-$name" \
            overlay "/$name"
    done
    rm -f /var/lib/man-db/auto-update # an index of all manual pages takes long
else
    mount --bind "$files/etc/shadow" /etc/shadow
fi
for name in etc/opt opt root run srv var/opt tmp; do # the last one may hide FILES
    mount --rbind "$files/$name" "/$name"
done
while read -r mount_point; do
    mkdir -p "$mount_point"
    mount -t tmpfs -o size=1m tmpfs "$mount_point"
done </run/file-systems

if [ -e /run/pam ]; then # the management server, with PAM's answers from a file
    LD_PRELOAD=libpam_wrapper.so PAM_WRAPPER=1 PAM_WRAPPER_SERVICE_DIR=/run/pam \
        /opt/veltaro/kzm/bin/kzm-providerd 2>/run/kzm/providerd.log &
    /opt/veltaro/kzm/bin/kzmwbemd 2>/run/kzm/wbemd.log &
fi
[ ! -e /opt/agent/runs ] || /opt/agent/agent.sh start
exec /usr/sbin/sshd -D -f /run/sshd/config -o "ListenAddress=$address" 2>/run/sshd/log
