# bash completion for loggerctl

_loggerctl() {
    local commands="get set history diff restore service"
    local general="--help --version --provider --definitions"
    local keys="syslog.output syslog.information syslog.warning syslog.obstacle
        cpu.enable cpu.interval cpu.count cpu.threshold
        memory.enable memory.interval memory.count memory.threshold
        fs.enable fs.interval fs.count"

    # The words that have been typed, as the shell's own list breaks them at "=".
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local command="" at
    for ((at = 1; at < COMP_CWORD; ++at)); do
        case ${COMP_WORDS[at]} in
            --provider | --definitions) ((++at)) ;;
            -*) ;;
            *)
                command=${COMP_WORDS[at]}
                break
                ;;
        esac
    done

    COMPREPLY=()
    local words=""
    case $before in
        --provider | --definitions)
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            return
            ;;
        --json)
            if [ "$command" = set ]; then
                mapfile -t COMPREPLY < <(compgen -f -- "$word")
                return
            fi
            ;;
    esac
    case $command in
        "") words="$commands $general" ;;
        get) words="$keys --json --no-usage $general" ;;
        set)
            if [ "$before" = "=" ] || [ "$word" = "=" ]; then
                return
            fi
            words="--json --dry-run --force $general"
            local key
            for key in $keys; do
                words+=" $key="
            done
            ;;
        history) words="--json $general" ;;
        diff) words="$(_loggerctl_ids) $general" ;;
        restore) words="$(_loggerctl_ids) --force $general" ;;
        service) words="start stop status $general" ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
    if [ "$command" = set ] && [[ ${COMPREPLY[0]-} == *= ]]; then
        compopt -o nospace 2>/dev/null
    fi
}

# The IDs of the kept copies.
_loggerctl_ids() {
    "${COMP_WORDS[0]}" history 2>/dev/null | while read -r id _; do
        [[ $id == [0-9]* ]] && echo "$id"
    done
}

complete -F _loggerctl loggerctl
