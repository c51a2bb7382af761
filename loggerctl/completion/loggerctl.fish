# fish completion for loggerctl

# The words up to the cursor that are neither options nor their arguments: the command and its own.
function __loggerctl_words
    set -l words (commandline -opc)[2..]
    while set -q words[1]
        switch $words[1]
            case --format --provider --definitions --wait
                set -e words[1]
            case '-*'
            case '*'
                echo $words[1]
        end
        set -e words[1]
    end
end

function __loggerctl_is
    set -l words (__loggerctl_words)
    contains -- "$words[1]" $argv
end

# Whether the command has no argument yet.
function __loggerctl_is_alone
    test (count (__loggerctl_words)) = 1; and __loggerctl_is $argv
end

# Asks the program; it may have to wait for a lock, or lack the right to answer.
function __loggerctl_ask
    set -l program (commandline -opc)[1]
    timeout 2 (string replace -r '^~' $HOME -- $program) $argv </dev/null 2>/dev/null
end

function __loggerctl_keys
    printf 'syslog.%s\n' output\t'alerts go to syslog at all' \
        information\t'those of severity information' \
        warning\t'those of severity warning' obstacle\t'those of severity obstacle'
    for monitor in cpu memory
        printf "$monitor.%s\n" enable\t'it is monitored' interval\t'sampling interval' \
            count\t'sampling count' threshold\t'threshold in percent'
    end
    printf 'fs.%s\n' enable\t'file systems are monitored at all' interval\t'sampling interval' \
        count\t'sampling count'
    __loggerctl_ask get 'fs:*.enable' 'fs:*.threshold' | string replace -r '=([^=]*)$' \t'now $1'
end

function __loggerctl_groups
    printf '%s\n' syslog\t'all keys of the syslog switches' cpu\t'all keys of the CPU monitor' \
        memory\t'all keys of the memory monitor' fs\t'all keys of file systems'
end

function __loggerctl_assignments
    set -l word (commandline -ct | string unescape)
    switch $word
        case '*.enable=*' 'syslog.*=*'
            set -l key (string replace -r '=[^=]*$' '' -- $word)
            printf '%s\n' $key=on $key=off
        case '*.*=*'
        case '*'
            __loggerctl_keys | string replace \t =\t
    end
end

function __loggerctl_ids
    __loggerctl_ask history | string replace -rf '^\s*[0-9]+\s+([0-9]\S+)\s+(.*)' '$1\t$2'
end

set -l waiting '__loggerctl_is set restore service'

complete -c loggerctl -f
complete -c loggerctl -s h -l help -d 'Print a help message and exit'
complete -c loggerctl -l version -d 'Print the version and exit'
complete -c loggerctl -l format -x -a 'text json' -d 'Text, or JSON for programs'
complete -c loggerctl -s q -l quiet -d 'Say nothing but why something failed'
complete -c loggerctl -l provider -r -F -d 'The provider library to load'
complete -c loggerctl -l definitions -r -F -d 'The class definitions to use'
complete -c loggerctl -n $waiting -l wait -x -d 'How long to wait for other changes'
complete -c loggerctl -n $waiting -l no-wait -d 'Do not wait for other changes'

complete -c loggerctl -n '__loggerctl_is ""' -a get -d 'Show the settings'
complete -c loggerctl -n '__loggerctl_is ""' -a set -d 'Change settings and restart the service'
complete -c loggerctl -n '__loggerctl_is ""' -a history -d 'List the kept copies of the settings files'
complete -c loggerctl -n '__loggerctl_is ""' -a diff -d 'Show what has changed since a copy was kept'
complete -c loggerctl -n '__loggerctl_is ""' -a restore -d 'Put the settings files back as they were in a copy'
complete -c loggerctl -n '__loggerctl_is ""' -a service -d 'Start, stop or restart the service, or ask it'
complete -c loggerctl -n '__loggerctl_is ""' -a doctor -d 'Say what is missing or wrong on this host, and what mends it'

complete -c loggerctl -n '__loggerctl_is get' -l json -d 'Print the settings as JSON'
complete -c loggerctl -n '__loggerctl_is get' -l monitored -d 'Leave out file systems that are not monitored'
complete -c loggerctl -n '__loggerctl_is get' -l usage -d 'Say in JSON, too, how full the file systems are'
complete -c loggerctl -n '__loggerctl_is get' -l no-usage -d 'Do not ask how full the file systems are'
complete -c loggerctl -n '__loggerctl_is get' -a '(__loggerctl_groups; __loggerctl_keys)'

complete -c loggerctl -n '__loggerctl_is set' -l json -r -F -d 'Take settings from a file; - is standard input'
complete -c loggerctl -n '__loggerctl_is set' -l dry-run -d 'Show what would change, and change nothing'
complete -c loggerctl -n '__loggerctl_is set' -l force -d 'Go on in spite of warnings'
complete -c loggerctl -n '__loggerctl_is set' -l skip-unmounted -d 'Leave out file systems that are not mounted'
complete -c loggerctl -n '__loggerctl_is set' -a '(__loggerctl_assignments)'

complete -c loggerctl -n '__loggerctl_is history' -l json -d 'Print the list as JSON'

complete -c loggerctl -k -n '__loggerctl_is diff' -a '(__loggerctl_ids)'
complete -c loggerctl -k -n '__loggerctl_is_alone restore' -a '(__loggerctl_ids)'
complete -c loggerctl -n '__loggerctl_is restore' -l dry-run -d 'Show what would change, and change nothing'
complete -c loggerctl -n '__loggerctl_is restore' -l force -d 'Also when nothing would change'

complete -c loggerctl -n '__loggerctl_is_alone service' -a 'start stop restart status'
