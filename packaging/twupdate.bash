# Completion of twupdate and twupdate-sample for bash. Commands and options, and whether an option
# takes a file or a folder, are what the program itself lists.

# _twupdate_help PROGRAM COMMAND: the options of the command and those that stand before any command.
_twupdate_help() {
    "$1" --help 2>/dev/null
    [[ -z $2 ]] || "$1" "$2" --help 2>/dev/null
}

_twupdate() {
    local program=${COMP_WORDS[0]} word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    # Bash makes three words of --option=value.
    if [[ $previous == "=" ]]; then previous=${COMP_WORDS[COMP_CWORD - 2]}; fi
    if [[ $word == "=" ]]; then word=''; fi
    local commands command='' help line takes='' i
    commands=$("$program" --help 2>/dev/null | sed -nE '/^Subcommands:/,$s/^  ([a-z-]+) .*/\1/p')
    for ((i = 1; i < COMP_CWORD; i++)); do
        if [[ ${COMP_WORDS[i]} != -* ]] && grep -qx -e "${COMP_WORDS[i]}" <<<"$commands"; then
            command=${COMP_WORDS[i]}
        fi
    done
    help=$(_twupdate_help "$program" "$command")
    COMPREPLY=()
    if [[ $previous == -* ]]; then
        # An option that takes something has the name of it, in capitals, behind its own.
        line=$(grep -E -m 1 -e "^  (-.,)?$previous(,| |\$)" <<<"$help")
        [[ $line =~ ^\ \ [^\ ]+\ ([A-Z]+) ]] && takes=${BASH_REMATCH[1]}
    elif [[ -n $command && $word != -* && $help =~ $'\nPositionals:\n  '([A-Z]+) ]]; then
        takes=${BASH_REMATCH[1]}
    fi
    case $takes in
        FILE | CMD) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
        DIR) mapfile -t COMPREPLY < <(compgen -d -- "$word") ;;
        '')
            if [[ $word == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W "$(sed -nE 's/^  (-[A-Za-z],)?(--[a-z-]+).*/\2/p' \
                    <<<"$help" | sort -u)" -- "$word")
            elif [[ -z $command ]]; then
                mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$word")
            fi ;;
    esac
}
complete -o filenames -F _twupdate twupdate twupdate-sample
