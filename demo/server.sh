# shellcheck shell=sh disable=SC2034
# The management server on a sample host, to be sourced: both daemons run as whoever runs this, with a
# certificate and a user of their own, and listen on loopback alone. PAM's answers come from a file, by
# way of libpam-wrapper; nothing of this machine's accounts is asked.
#
# server_layout ROOT   writes configuration, certificate and accounts below the root
# server_start ROOT    starts both daemons; sets server_port and server_plain_port
# server_stop          ends both

server_user=$(id -un)
server_password=demonstration

server_layout() {
    server_etc=$1/etc/opt/veltaro/kzm
    server_pam=$1/etc/pam-wrapper
    mkdir -p "$server_etc" "$server_pam" "$1/run/kzm"
    openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 30 \
        -subj /CN=localhost -addext subjectAltName=DNS:localhost \
        -keyout "$server_etc/wbemd-key.pem" -out "$server_etc/wbemd-cert.pem" 2>/dev/null
    printf 'Listen=127.0.0.1:0\nListenPlain=127.0.0.1:0\n' >"$server_etc/wbemd.conf"
    printf 'FrontEndUser=%s\nChangingGroups=%s\n' "$server_user" "$(id -gn)" \
        >"$server_etc/providerd.conf"
    module=$(echo /usr/lib/*/pam_wrapper/pam_matrix.so)
    for kind in auth account; do
        echo "$kind required $module passdb=$server_pam/passdb"
    done >"$server_pam/kzmwbem"
    echo "$server_user:$server_password:kzmwbem" >"$server_pam/passdb"
}

server_start() {
    LD_PRELOAD=libpam_wrapper.so PAM_WRAPPER=1 PAM_WRAPPER_SERVICE_DIR=$1/etc/pam-wrapper \
        kzm-providerd 2>"$1/providerd.log" &
    server_back=$!
    kzmwbemd 2>"$1/wbemd.log" &
    server_front=$!
    server_port=$(server_await_port "$1/wbemd.log" https)
    server_plain_port=$(server_await_port "$1/wbemd.log" http)
}

server_stop() {
    kill "$server_front" "$server_back" 2>/dev/null || true
    wait "$server_front" "$server_back" 2>/dev/null || true
}

# The port that the log says is listened at by https or http.
server_await_port() {
    for _ in $(seq 100); do
        port=$(sed -n "s,^Listening on 127\\.0\\.0\\.1:\\([0-9]*\\) ($2).*,\\1,p" "$1" | head -n 1)
        if [ -n "$port" ]; then
            echo "$port"
            return
        fi
        sleep 0.1
    done
    cat "$1" >&2
    return 1
}
