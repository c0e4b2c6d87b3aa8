#compdef vrd
# Completion of `vrd` for zsh. Commands, options and their values are read from `vrd --help`, so they are always those of
# the program at hand.

local program=${(Q)words[1]} command= word
for word in ${words[2,CURRENT-1]}; do
    if [[ $word != -* ]]; then
        command=$word
        break
    fi
done

if [[ -z $command ]]; then
    local -a commands
    commands=(${(f)"$($program --help 2>/dev/null | awk '
        /^Subcommands:/ { inside = 1; next }
        /^$/ { inside = 0 }
        inside { name = $1; $1 = ""; sub(/^ +/, ""); print name ":" $0 }')"})
    commands+=(${(f)"$($program --help 2>/dev/null | awk '
        /^Options:/ { inside = 1; next }
        /^[^ ]/ { inside = 0 }
        inside && /^  -/ {
            name = $1; $1 = ""; sub(/^ +/, ""); sub(/.*,/, "", name)
            print name ":" $0
        }')"})
    _describe command commands
    return
fi

# One line for _arguments for each name of each option. A value with "|" lists what may be given.
local -a options
options=(${(f)"$($program $command --help 2>/dev/null | awk '
    /^Options:/ { inside = 1; next }
    /^[^ ]/ { inside = 0 }
    inside && /^  -/ {
        takesValue = match($0, /^  [^ ]+ [^ ]/)
        about = $0
        sub(/^  [^ ]+ ?[^ ]*( REQUIRED)? */, "", about)
        if (takesValue == 0) { about = $0; sub(/^  [^ ]+ */, "", about) }
        gsub(/\[|\]|:/, " ", about)
        value = ""
        if (takesValue) {
            choices = $2
            sub(/=.*/, "", choices)
            if (choices ~ /\|/ && choices !~ /[A-Z]/) { gsub(/\|/, " ", choices); value = ":value:(" choices ")" }
            else if (choices ~ /^(OUT|LIST|RESULTS|FILE|DIR)/) { value = ":file:_files" }
            else { value = ":" $2 ":" }
        }
        count = split($1, names, ",")
        for (i = 1; i <= count; ++i) print names[i] "[" about "]" value
    }')"})

(( CURRENT > 1 )) && shift words && (( CURRENT-- ))
_arguments -s $options '*:file:_files'
