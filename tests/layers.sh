#!/bin/sh
# Include lines run downwards only: every folder includes what lies below it, and nothing else.
set -eu
cd "$(dirname "$0")/.."

status=0

# check FOLDER ALLOWED: the quoted includes of the folder's files match the pattern, and the headers in
# angle brackets are those of the standard library and POSIX unless more is allowed.
check() {
    folder=$1 quoted=$2 angled=$3
    bad=$(git grep -hn '#include "' -- "$folder" | grep -Ev "#include \"($quoted)" || true)
    if [ -n "$bad" ]; then
        printf '%s reaches into a layer that it must not know:\n%s\n' "$folder" "$bad" >&2
        status=1
    fi
    bad=$(git grep -hn '#include <' -- "$folder" |
        grep -Ev "#include <(${angled}[a-z_]+>|(sys|linux)/[a-z]+\.h>|[a-z]+\.h>)" || true)
    if [ -n "$bad" ]; then
        printf '%s uses a library that it must not know:\n%s\n' "$folder" "$bad" >&2
        status=1
    fi
}

platform='comlib/|providerbase/'
expat='expat\.h>|'
expected='tl/expected\.hpp>|'
json='nlohmann/[a-z_]+\.hpp>|'
output="${json}${expected}dtl/dtl\.hpp>|utf8\.h>|"

check platform/comlib 'comlib/|providerbase/(IWbemClassObject|CWbemValue)\.h"' ''
check platform/providerbase "$platform|KzmPaths\.h\"" ''
check settings "settings/|$platform|KzmPaths\.h\"" ''
check configfile "settings/|$platform" ''
check provider "provider/|settings/|$platform|KzmPaths\.h\"" ''
check host "host/|$platform" "$expat"
check history "history/|KzmPaths\.h\"" "$expected"
below="history/|settings/|$platform|KzmPaths\.h\"|loggerctl/output/"
check loggerctl/output 'loggerctl/output/|history/CDescriptor\.h"' "$output"
check loggerctl/agent "loggerctl/agent/|host/C(ProviderHost|ServiceSteps)\.h\"|provider/MethodResult\.h\"|$below" "$expected"
check loggerctl/record "loggerctl/record/|loggerctl/agent/|$below" "$json$expected"
check loggerctl/doctor "loggerctl/(doctor|agent|record|output)/|host/C(ProviderHost|ServiceSteps)\.h\"|(providerd/door|wbemd/http)/CSettings\.h\"|$below" 'netinet/in\.h>|'
check loggerctl/commands "loggerctl/|$below" "$json${expected}CLI/CLI\.hpp>|"
check serverbase 'serverbase/|providerbase/IWbemClassObject\.h"' 'systemd/sd-daemon\.h>|utf8\.h>|'
below="host/|serverbase/|providerbase/"
check wbemd/cimxml "wbemd/cimxml/|$below" "$expected"
check wbemd/operations "wbemd/(cimxml|operations)/|$below" "$expected"
check loggerctl/main.cpp 'loggerctl/(commands|output)/' ''
check wbemd/http "wbemd/(http/|operations/COperations\.h\")|serverbase/|history/CDescriptor\.h\"|KzmPaths\.h\"" \
    "${expected}boost/asio[a-z_/]*\.hpp>|(openssl|arpa|netinet)/[a-z0-9]+\.h>|"
check wbemd/main.cpp "wbemd/(http|operations)/|serverbase/|KzmPaths\.h\"" ''
check ':(glob)providerd/*' "providerd/|serverbase/|host/|history/|provider/MethodResult\.h\"|settings/LoggerDefinitions\.h\"|$platform|KzmPaths\.h\"" "$expected"
check providerd/door "providerd/|serverbase/|history/CDescriptor\.h\"|KzmPaths\.h\"" \
    "${expected}openssl/[a-z]+\.h>|security/pam_appl\.h>|arpa/inet\.h>|"

exit $status
