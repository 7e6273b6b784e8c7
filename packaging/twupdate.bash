# Completion of twupdate for bash. Commands and options are those that the program itself lists.
_twupdate_commands() { twupdate --help 2>/dev/null | sed -n '/^Subcommands:/,$s/^  \([a-z-]\+\) .*/\1/p'; }
_twupdate_options() { twupdate "$@" --help 2>/dev/null | sed -nE 's/^  (-[A-Za-z],)?(--[a-z-]+).*/\2/p'; }

_twupdate() {
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command='' i
    local commands
    commands=$(_twupdate_commands)
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; i++)); do
        if grep -qx -e "${COMP_WORDS[i]}" <<<"$commands"; then command=${COMP_WORDS[i]}; fi
    done
    case $previous in
        --defaults-file | --socket | -S | --password-file | --ssl-ca | --service-command | \
            --services-log | --trace | --events | --log)
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            return ;;
        --datadir | --install-folder | --backup | --workdir)
            mapfile -t COMPREPLY < <(compgen -d -- "$word")
            return ;;
    esac
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_twupdate_options ${command:+"$command"})" -- "$word")
    elif [[ -z $command ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$word")
    elif [[ $command == report ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
    fi
}
complete -o filenames -F _twupdate twupdate
