# Prints what bash offers behind a command line without quotes, one a line.
#   bash completions.bash FILE LINE

# shellcheck source=/dev/null
. "$1"

# As the shell breaks the line.
COMP_LINE=$2
# shellcheck disable=SC2034 # the function's
COMP_POINT=${#COMP_LINE} COMP_WORDS=()
rest=$COMP_LINE
while [[ $rest =~ ^[[:blank:]]*([:=]+|[^[:blank:]:=]+)(.*)$ ]]; do
    COMP_WORDS+=("${BASH_REMATCH[1]}")
    rest=${BASH_REMATCH[2]}
done
[[ $COMP_LINE != *[[:blank:]] ]] || COMP_WORDS+=("")
# shellcheck disable=SC2034
COMP_CWORD=$((${#COMP_WORDS[@]} - 1)) COMP_WORDBREAKS=$' \t\n"\'><=;|&(:'
_loggerctl

# The offers take the place of what stands behind the last break.
word=${COMP_LINE##*[[:blank:]]}
for offer in "${COMPREPLY[@]}"; do
    printf '%s\n' "${word%"${word##*[:=]}"}$offer"
done
