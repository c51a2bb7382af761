# bash completion for loggerctl

_loggerctl() {
    local general="--help --version --format --quiet --provider --definitions"
    local waiting="--wait --no-wait"
    local program=${COMP_WORDS[0]}
    local -a words
    _loggerctl_words
    local word=${words[-1]} before=${words[-2]}
    local command="" has_argument=""
    _loggerctl_command

    # What is completed: a word, or what stands behind "OPTION=".
    local quote="" begin=""
    case $word in
        [\'\"]*)
            quote=${word:0:1}
            word=${word:1}
            ;;
        *)
            word=${word//\\\\/$'\1'}
            word=${word//\\/}
            word=${word//$'\1'/\\}
            ;;
    esac
    if [[ $word == --*=* ]]; then
        before=${word%%=*}
        begin=$before=
        word=${word#*=}
    fi

    COMPREPLY=()
    local -a candidates=()
    case "$command $before" in
        *" --format") candidates=(text json) ;;
        *" --wait") ;;
        *" --provider" | *" --definitions" | "set --json")
            mapfile -t candidates < <(compgen -f -- "$word")
            compopt -o filenames 2>/dev/null
            ;;
        *) [ -n "$begin" ] || _loggerctl_candidates ;;
    esac
    _loggerctl_reply
}

# The words up to the cursor. The shell's own list is broken at ":" and "=", too.
_loggerctl_words() {
    local line=${COMP_LINE:0:COMP_POINT} part at
    words=()
    for ((at = 0; at <= COMP_CWORD; ++at)); do
        part=${COMP_WORDS[at]}
        if ((at == 0)) || [[ $line == [[:blank:]]* ]]; then
            line=${line#"${line%%[![:blank:]]*}"}
            words+=("")
        fi
        ((at < COMP_CWORD)) || part=$line
        words[-1]+=$part
        line=${line#"$part"}
    done
    ((${#words[@]} > 1)) || words+=("")
}

# The first word that is neither an option nor an option's argument, and whether there is another.
_loggerctl_command() {
    local at
    for ((at = 1; at < ${#words[@]} - 1; ++at)); do
        case ${words[at]} in
            --format | --provider | --definitions | --wait) ((++at)) ;;
            -*) ;;
            *)
                has_argument=$command
                command=${command:-${words[at]}}
                ;;
        esac
    done
}

_loggerctl_candidates() {
    local options=$general
    case $command in
        "") candidates=(get set history diff restore service doctor) ;;
        get)
            options+=" --json --monitored --usage --no-usage"
            mapfile -t candidates < <(_loggerctl_keys)
            candidates+=(syslog cpu memory fs)
            ;;
        set)
            options+=" --json --dry-run --force --skip-unmounted $waiting"
            case $word in
                *.enable=* | syslog.*=*) candidates=("${word%=*}="{on,off}) ;;
                *.*=*) ;;
                *)
                    mapfile -t candidates < <(_loggerctl_keys)
                    candidates=("${candidates[@]/%/=}")
                    ;;
            esac
            ;;
        history) options+=" --json" ;;
        diff) mapfile -t candidates < <(_loggerctl_ids) ;;
        restore)
            options+=" --dry-run --force $waiting"
            mapfile -t candidates < <(_loggerctl_ids)
            ;;
        service)
            options+=" $waiting"
            [ -n "$has_argument" ] || candidates=(start stop restart status)
            ;;
    esac
    # shellcheck disable=SC2206 # a list of words
    candidates+=($options)
}

# Takes the candidates that begin with the word. What the shell leaves in place, up to the last ":" or
# "=" of a word without quotes, is left out of them.
_loggerctl_reply() {
    local kept="" candidate
    if [ -z "$quote" ]; then
        local break
        for break in : =; do
            candidate=${begin}${word}
            if [[ $COMP_WORDBREAKS == *"$break"* && $candidate == *"$break"* ]]; then
                candidate=${candidate%"$break"*}$break
                ((${#candidate} <= ${#kept})) || kept=$candidate
            fi
        done
    fi
    for candidate in "${candidates[@]}"; do
        [[ $candidate == "$word"* ]] || continue
        [[ $candidate != *= ]] || compopt -o nospace 2>/dev/null
        candidate=$begin$candidate
        candidate=${candidate#"$kept"}
        [ -n "$quote" ] || printf -v candidate %q "$candidate"
        COMPREPLY+=("$candidate")
    done
}

# Asks the program; it may have to wait for a lock, or lack the right to answer.
_loggerctl_ask() {
    timeout 2 "${program/#\~/$HOME}" "$@" </dev/null 2>/dev/null
}

_loggerctl_keys() {
    local monitor line
    printf 'syslog.%s\n' output information warning obstacle
    for monitor in cpu memory; do
        printf "$monitor.%s\n" enable interval count threshold
    done
    printf 'fs.%s\n' enable interval count
    _loggerctl_ask get 'fs:*.enable' 'fs:*.threshold' | while IFS= read -r line; do
        printf '%s\n' "${line%=*}"
    done
}

_loggerctl_ids() {
    local id
    [ -z "$has_argument" ] || return
    _loggerctl_ask history | while read -r _ id _; do
        [[ $id != [0-9]* ]] || printf '%s\n' "$id"
    done
}

complete -F _loggerctl loggerctl
