# Completion of `vrd` for bash. Commands, options and their values are read from `vrd --help`, so they are always those of
# the program at hand.

_vrd_command() {
    local word
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case $word in
            -*) ;;
            *) printf '%s\n' "$word"; return ;;
        esac
    done
}

# The values that the option $2 of the command $1 takes: "a b c", "?" for anything, or nothing for an option without.
_vrd_values() {
    "${COMP_WORDS[0]}" "$1" --help 2>/dev/null | awk -v option="$2" '
        /^Options:/ { inside = 1; next }
        /^[^ ]/ { inside = 0 }
        inside && /^  -/ {
            count = split($1, names, ",")
            for (i = 1; i <= count; ++i) {
                if (names[i] == option && match($0, /^  [^ ]+ [^ ]/)) {
                    value = $2
                    sub(/=.*/, "", value)
                    print value ~ /\|/ && value !~ /[A-Z]/ ? value : "?"
                }
            }
        }' | tr '|' ' '
}

# All options, of the command if one is given.
_vrd_options() {
    "${COMP_WORDS[0]}" "$@" --help 2>/dev/null | awk '
        /^Options:/ { inside = 1; next }
        /^[^ ]/ { inside = 0 }
        inside && /^  -/ { gsub(",", " ", $1); print $1 }'
}

_vrd() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} program=${COMP_WORDS[0]}
    local command values
    COMPREPLY=()
    command=$(_vrd_command)
    if [[ -z $command ]]; then
        values=$("$program" --help 2>/dev/null | awk '
            /^Subcommands:/ { inside = 1; next }
            /^$/ { inside = 0 }
            inside { print $1 }')
        values+=" $(_vrd_options)"
        mapfile -t COMPREPLY < <(compgen -W "$values" -- "$current")
        return
    fi
    if [[ $previous == -* && $previous != -- ]]; then
        values=$(_vrd_values "$command" "$previous")
        if [[ -n $values && $values != "?" ]]; then
            mapfile -t COMPREPLY < <(compgen -W "$values" -- "$current")
            return
        fi
    fi
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_vrd_options "$command")" -- "$current")
        return
    fi
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
}

complete -F _vrd vrd
