# Completion of `vrd` for fish. Commands, options and their values are read from `vrd --help`, so they are always those of
# the program at hand.

function __vrd_command
    for word in (commandline -opc)[2..-1]
        if not string match -q -- '-*' $word
            echo $word
            return 0
        end
    end
    return 1
end

function __vrd_commands
    vrd --help 2>/dev/null | awk '
        /^Subcommands:/ { inside = 1; next }
        /^$/ { inside = 0 }
        inside { name = $1; $1 = ""; sub(/^ +/, ""); print name "\t" $0 }'
end

function __vrd_options
    vrd (__vrd_command) --help 2>/dev/null | awk '
        /^Options:/ { inside = 1; next }
        /^[^ ]/ { inside = 0 }
        inside && /^  -/ {
            about = $0
            if (match($0, /^  [^ ]+ [^ ]/)) sub(/^  [^ ]+ [^ ]*( REQUIRED)? */, "", about)
            else sub(/^  [^ ]+ */, "", about)
            count = split($1, names, ",")
            for (i = 1; i <= count; ++i) print names[i] "\t" about
        }'
end

# What may follow the option that stands before the cursor, one a line; nothing where a name or a number is wanted.
function __vrd_values
    set -l option (commandline -opc)[-1]
    vrd (__vrd_command) --help 2>/dev/null | awk -v option="$option" '
        /^Options:/ { inside = 1; next }
        /^[^ ]/ { inside = 0 }
        inside && /^  -/ && $2 ~ /\|/ && $2 !~ /^[^=]*[A-Z]/ {
            count = split($1, names, ",")
            for (i = 1; i <= count; ++i) {
                if (names[i] != option) continue
                value = $2
                sub(/=.*/, "", value)
                gsub(/\|/, "\n", value)
                print value
            }
        }'
end

complete -c vrd -n 'not __vrd_command >/dev/null' -f -a '(__vrd_commands)'
complete -c vrd -n 'string match -q -- "-*" (commandline -ct)' -f -a '(__vrd_options)'
complete -c vrd -n '__vrd_command >/dev/null; and test -n "$(__vrd_values)"' -f -k -a '(__vrd_values)'
