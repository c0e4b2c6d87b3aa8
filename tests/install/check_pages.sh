#!/bin/sh
# Whether every command of the program has a manual page, and every option a word in it: what is added to the program and
# forgotten here would otherwise stay undescribed. Whether the completion of each shell that is installed offers them all.
#
#   check_pages.sh PROGRAM SOURCE-FOLDER
set -eu
program=$1
pages=$2/data/man
completion=$2/data/completion
faults=0

fault() {
    echo "$1" >&2
    faults=$((faults + 1))
}

# The long names of the options of a command ("" for none).
options() {
    "$program" ${1:+"$1"} --help | awk '
        /^Options:/ { inside = 1; next }
        /^[^ ]/ { inside = 0 }
        inside && /^  -/ { count = split($1, names, ","); print names[count] }'
}

# page option
check_option() {
    escaped=$(printf '%s' "$2" | sed 's/-/\\-/g')
    grep -qF -e "$escaped" "$1" || fault "$(basename "$1") does not describe $2"
}

# What the completion of a shell offers behind "vrd", or behind a command: the words that begin with $3, which is "--" or
# nothing for the commands.
#
#   shell command word
offers() {
    case $1 in
        bash)
            bash -c '. "$1"; COMP_WORDS=("$2" ${3:+"$3"} "$4"); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _vrd
                printf "%s\n" "${COMPREPLY[@]}"' bash "$completion/vrd.bash" "$program" "$2" "$3"
            ;;
        fish)
            PATH="$(dirname "$program"):$PATH" fish --no-config \
                -c "source '$completion/vrd.fish'; complete -C 'vrd $2${2:+ }$3'" | cut -f 1
            ;;
        zsh)
            # The functions that show what there is print it instead.
            zsh -fc '_arguments() { print -l -- "${@%%\[*}" }; _describe() { print -l -- "${(@)${(P)2}%%:*}" }
                offer() { source $1 }; words=($2 ${3:+$3} "$4"); CURRENT=$#words; offer $1' \
                zsh "$completion/vrd.zsh" "$program" "$2" "$3"
            ;;
    esac | grep -e "^${3:-[a-z]}" | sort
}

# shell command word wanted
check_offers() {
    offered=$(offers "$1" "$2" "$3")
    [ "$offered" = "$(echo "$4" | sort)" ] ||
        fault "completion of $1 for \"vrd $2 $3\" offers: $(echo "$offered" | tr '\n' ' ')"
}

commands=$("$program" --help | awk '/^Subcommands:/ { inside = 1; next } /^$/ { inside = 0 } inside { print $1 }')
shells=""
for shell in bash fish zsh; do
    if command -v $shell >/dev/null; then shells="$shells $shell"; else echo "Not checked: the completion of $shell"; fi
done
[ -n "$commands" ] || fault "the program names no command"
for option in $(options ""); do
    check_option "$pages/vrd.1" "$option"
done
for command in $commands; do
    page=$pages/vrd-$command.1
    if [ ! -f "$page" ]; then
        fault "vrd-$command.1 is missing"
        continue
    fi
    grep -qF "$(printf 'vrd-%s (1)' "$command" | sed 's/-/\\-/g')" "$pages/vrd.1" ||
        fault "vrd.1 does not name vrd-$command(1)"
    wanted=$(options "$command")
    [ -n "$wanted" ] || fault "vrd $command has no option"
    for option in $wanted; do
        check_option "$page" "$option"
    done
    for shell in $shells; do
        check_offers "$shell" "$command" -- "$wanted"
    done
done
for shell in $shells; do
    check_offers "$shell" "" -- "$(options "")"
    check_offers "$shell" "" "" "$commands"
done
[ "$faults" -eq 0 ]
