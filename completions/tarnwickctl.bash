# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

# Completions of tarnwickctl for bash.

# __tarnwickctl_expand WORD: the program that the shell runs for the word, into `program`. Expands a
# tilde or one variable in front, and backslashes; anything else in the word is never evaluated.
__tarnwickctl_expand()
{
    IFS= read -d '' program < <(printf '%s\0' "$1")
    if [[ $1 =~ ^~[[:alnum:]._+-]*/ ]]; then
        eval "program=${BASH_REMATCH[0]}"'${program#*/}'
    elif [[ $1 =~ ^\$([[:alpha:]_][[:alnum:]_]*)/ || $1 =~ ^\$\{([[:alpha:]_][[:alnum:]_]*)\}/ ]]; then
        program=${!BASH_REMATCH[1]}/${program#*/}
    fi
}

# __tarnwickctl_values PROGRAM MEMBER: the values of a leading number of each record, once each.
__tarnwickctl_values()
{
    case $2 in
        port) "$1" list --json 2>/dev/null | sed -n 's/^{"pid":[0-9]*,"port":\([0-9]*\),.*/\1/p' ;;
        pid) "$1" list --json 2>/dev/null | sed -n 's/^{"pid":\([1-9][0-9]*\),.*/\1/p' ;;
    esac | sort -nu
}

# __tarnwickctl_columns SIGN: the lists that go on with a column that is not in them yet, into `choices`;
# with a sign, each column with and without it.
__tarnwickctl_columns()
{
    local begun='' name
    [[ $current == *,* ]] && begun=${current%,*},
    for name in port address exposed tier pid user process description uptime memory command path \
        folder unit socket container project branch parent host; do
        [[ ,$begun == *,$name,* || ,$begun == *,-$name,* ]] && continue
        choices+=" $begun$name"
        [[ -n $1 ]] && choices+=" $begun$1$name"
    done
}

# __tarnwickctl_read WORD...: reads the words between the command and the one to complete, into the
# variables of _tarnwickctl.
__tarnwickctl_read()
{
    local word
    for word; do
        if [[ -n $awaiting ]]; then
            # COMP_WORDBREAKS makes a word of the "=" in --tier=dev.
            [[ $word == '=' ]] || awaiting=
        elif [[ -n $optionsEnd ]]; then
            hasValues=yes
        else
            case $word in
                --tier | --search | --not | --port | --user | --columns | --sort | --group-by | \
                    --interval | --pid | --timeout | --host) awaiting=$word ;;
                --) optionsEnd=yes ;;
                -*) ;;
                *) hasValues=yes ;;
            esac
            [[ $word == --pid || $word == --pid=* ]] && hasPids=yes
        fi
    done
}

_tarnwickctl()
{
    local program current=$2
    local command=list first=1 awaiting='' optionsEnd='' hasValues='' hasPids='' choices=''
    local takesPorts=''
    __tarnwickctl_expand "$1"
    # A command comes before any option.
    case ${COMP_WORDS[1]} in
        list | watch | kill | free | wait | url | why | tiers) ((COMP_CWORD > 1)) && command=${COMP_WORDS[1]} first=2 ;;
    esac
    case $command in
        kill | free | wait | url | why) takesPorts=yes ;;
    esac
    __tarnwickctl_read "${COMP_WORDS[@]:first:COMP_CWORD-first}"
    [[ $current == '=' ]] && current=

    case $awaiting in
        --tier) choices='system app dev unknown' ;;
        --group-by) choices='project tier user unit container' ;;
        --user) choices=$(compgen -u) ;;
        --columns) __tarnwickctl_columns '' ;;
        --sort) __tarnwickctl_columns '-' ;;
        --port) choices=$(__tarnwickctl_values "$program" port) ;;
        --pid) choices=$(__tarnwickctl_values "$program" pid) ;;
        --host) choices=$(compgen -A hostname) ;;
        '')
            if [[ -z $optionsEnd && (-z $takesPorts || $current == -* || -n $hasPids) ]]; then
                choices='--help --version'
                case $command in
                    list | watch) choices+=' --tier --search --not --port --user --exposed --json' ;;
                    kill) choices+=' --yes --system' ;;
                    free) choices+=' --yes --system --dry-run' ;;
                    wait) choices+=' --free --timeout' ;;
                    tiers | why) choices+=' --json' ;;
                esac
                [[ $command == kill && -z $hasValues ]] && choices+=' --pid'
                [[ $command == @(list|watch|kill|why|free) ]] && choices+=' --host'
                [[ $command == list ]] && choices+=' --columns --sort --group-by --pids'
                [[ $command == watch ]] && choices+=' --interval'
                [[ $current == -* ]] && choices+=' -h'
                [[ $current == -* && $command == @(kill|free) ]] && choices+=' -y'
                ((COMP_CWORD == 1)) && choices="list watch why kill free wait url tiers $choices"
            elif [[ -n $takesPorts && -z $hasPids && ($command != @(url|why) || -z $hasValues) ]]; then
                choices=$(__tarnwickctl_values "$program" port)
            fi
            ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$current")
}

complete -F _tarnwickctl tarnwickctl
