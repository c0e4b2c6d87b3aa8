#!/bin/sh
# Whether every command of the program has a manual page, and every option a word in it: what is added to the program and
# forgotten here would otherwise stay undescribed. Whether the completion of bash offers them all.
#
#   check_pages.sh PROGRAM SOURCE-FOLDER
set -eu
program=$1
pages=$2/data/man
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

commands=$("$program" --help | awk '/^Subcommands:/ { inside = 1; next } /^$/ { inside = 0 } inside { print $1 }')
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
    offered=$(bash -c '. "$1"; COMP_WORDS=("$2" "$3" --); COMP_CWORD=2; _vrd; printf "%s\n" "${COMPREPLY[@]}"' \
        bash "$2/data/completion/vrd.bash" "$program" "$command")
    [ "$(echo "$offered" | sort)" = "$(echo "$wanted" | sort)" ] ||
        fault "completion of vrd $command offers: $(echo "$offered" | tr '\n' ' ')"
done
[ "$faults" -eq 0 ]
