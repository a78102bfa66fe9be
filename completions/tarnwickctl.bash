# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

# Completions of tarnwickctl for bash.

# __tarnwickctl_values PROGRAM MEMBER: the values of a leading number of each record, once each.
__tarnwickctl_values()
{
    case $2 in
        port) "$1" list --json 2>/dev/null | sed -n 's/^{"pid":[0-9]*,"port":\([0-9]*\),.*/\1/p' ;;
        pid) "$1" list --json 2>/dev/null | sed -n 's/^{"pid":\([1-9][0-9]*\),.*/\1/p' ;;
    esac | sort -nu
}

_tarnwickctl()
{
    local program=$1 current=$2 previous=$3
    local command=list selection='--tier --search --port --json' options
    case ${COMP_WORDS[1]} in
        list | watch | kill) ((COMP_CWORD > 1)) && command=${COMP_WORDS[1]} ;;
    esac
    # COMP_WORDBREAKS makes a word of the "=" in --tier=dev.
    if [[ $current == '=' ]]; then
        current=
    elif [[ $previous == '=' ]]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi

    COMPREPLY=()
    case $previous in
        --tier)
            mapfile -t COMPREPLY < <(compgen -W 'system app dev unknown' -- "$current")
            return
            ;;
        --port)
            mapfile -t COMPREPLY < <(compgen -W "$(__tarnwickctl_values "$program" port)" -- "$current")
            return
            ;;
        --pid)
            mapfile -t COMPREPLY < <(compgen -W "$(__tarnwickctl_values "$program" pid)" -- "$current")
            return
            ;;
        --search | --interval) return ;;
    esac

    case $command in
        list) options="$selection --help --version" ;;
        watch) options="$selection --interval --help --version" ;;
        kill) options='--pid --yes --system --help --version' ;;
    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options -h $([[ $command == kill ]] && echo -y)" -- "$current")
    elif [[ $command == kill ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(__tarnwickctl_values "$program" port)" -- "$current")
    elif ((COMP_CWORD == 1)); then
        mapfile -t COMPREPLY < <(compgen -W "list watch kill $options" -- "$current")
    else
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    fi
}

complete -F _tarnwickctl tarnwickctl
