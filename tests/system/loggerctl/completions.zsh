# Prints what zsh offers behind a command line, one a line.
#   zsh -f completions.zsh FOLDER LINE
# FOLDER holds the completion functions. The shell that is asked runs on a terminal of its own.

zmodload zsh/zpty
zpty asked zsh -f -i
zpty -w asked "PROMPT= fpath=(${(q)1} \$fpath)"
zpty -w asked 'autoload -U compinit && compinit -u -D'

# Every match that is added is printed, with what stands before and behind it, between lines that
# cannot be part of one.
zpty -w asked 'print_matches() {
    compadd() {
        if [[ ${@[1,(i)(-|--)]} == *-(O|A|D)\ * ]]; then
            builtin compadd "$@"
            return
        fi
        local match
        local -a matches suffix
        builtin compadd -A matches "$@"
        zparseopts -E S:=suffix
        for match in "$matches[@]"; do
            print -r -- "<$IPREFIX$match${suffix[2]}>"
        done
        builtin compadd "$@"
    }
    print -r -- BEGIN
    _main_complete
    unfunction compadd
    print -r -- END
    exit
}'
zpty -w asked 'zle -C print-matches complete-word print_matches; bindkey "^I" print-matches; print REA""DY'
zpty -r -m asked text '*READY*' || exit 1
zpty -w -n asked "$2"$'\t'
zpty -r -m asked text '*END*' || exit 1

text=${${text##*BEGIN}%%END*}
for line in ${(f)${text//$'\r'/}}; do
    [[ $line != \<*\> ]] || print -r -- ${${line#<}%>}
done
