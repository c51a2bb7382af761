#!/bin/sh
# Change in place with sed, which neither reads nor checks what it does not replace.
#
#   change_sed.sh AGENT.CFG ALERT.CFG
set -eu
tab=$(printf '\t')
sed -i 's/^SyslogOutput=True/SyslogOutput=False/' "$1"
sed -i -e 's/^CPU=([^,]*, \(.*\), [^,]*)$/CPU=(False, \1, 85)/' \
    -e "s/^\\(#KZM# $tab\\)\\{0,1\\}FSNAME=\"\\([^\"]*\\)\"   ([0-9]*)\$/FSNAME=\"\\2\"   (85)/" "$2"
