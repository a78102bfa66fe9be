# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

# Completions of tarnwickctl for fish.

# The records of the program that is typed, which may be another than that in the PATH. A tilde or a
# variable in front is expanded, and nothing else is evaluated.
function __tarnwickctl_list
    set -l words (commandline -opc)
    set -l program $words[1]
    set -l front (string match -r -- '^(?:~|\$(\w+)|\{\$(\w+)\})/' $program)
    if test -n "$front[1]"
        set -l name $front[2]
        test -n "$name"; or set name HOME
        set program $$name/(string replace -r -- '^[^/]*/' '' $program)
    end
    # fish itself reports a program that it cannot find, into the middle of the line.
    command -sq -- "$program[1]"; and command $program[1] list --json 2>/dev/null
end

function __tarnwickctl_ports
    __tarnwickctl_list | string replace -rf '^\{"pid":\d+,"port":(\d+),.*' '$1' | sort -nu
end

function __tarnwickctl_pids
    __tarnwickctl_list | string replace -rf '^\{"pid":([1-9]\d*),.*' '$1' | sort -nu
end

# __tarnwickctl_runs COMMAND...: whether the command line is of one of these. A command comes before
# any option; without one it is list.
function __tarnwickctl_runs
    set -l words (commandline -opc)
    set -l command list
    contains -- "$words[2]" watch why kill free wait url tiers; and set command $words[2]
    contains -- $command $argv
end

# What kill is given: the values of --pid, or the words that are no options.
function __tarnwickctl_kills -a what
    set -l words (commandline -opc)
    set -l pids (string match -r -- '^--pid(?:=.*)?$' $words)
    set -l values (string match -rv -- '^-' $words[3..])
    switch $what
        case pids
            test -n "$pids"
        case ports
            test -z "$pids" -a -n "$values"
    end
end

# __tarnwickctl_columns [SIGN]: the lists that go on with a column that is not in them yet; with a sign, each
# column with and without it.
function __tarnwickctl_columns -a sign
    set -l word (string replace -r -- '^--[a-z]+=' '' (commandline -ct))
    # An empty list would leave nothing of the words that it is part of.
    set -l begun (string match -r -- '^.*,' $word; or echo)
    for name in port address exposed tier pid user process description uptime memory command path \
            folder unit socket container project branch parent host
        string match -qr -- "(^|,)-?$name," "$begun"; and continue
        echo $begun$name
        test -n "$sign"; and echo $begun$sign$name
    end
end

# Whether no port was given to a command that takes one.
function __tarnwickctl_hasNoPort
    set -l words (commandline -opc)
    test -z (string match -rv -- '^-' $words[3..] | string collect)
end

set -l noCommand 'test (count (commandline -opc)) -eq 1'
set -l showing '__tarnwickctl_runs list watch'
set -l listing '__tarnwickctl_runs list'
set -l watching '__tarnwickctl_runs watch'
set -l killing '__tarnwickctl_runs kill'
set -l waiting '__tarnwickctl_runs wait'
set -l onePort '__tarnwickctl_runs url why'
set -l freeing '__tarnwickctl_runs free'
set -l explaining '__tarnwickctl_runs why'

complete -c tarnwickctl -f
complete -c tarnwickctl -n $noCommand -a list -d 'Show the listeners'
complete -c tarnwickctl -n $noCommand -a watch -d 'Show the listeners as they come and go'
complete -c tarnwickctl -n $noCommand -a kill -d 'Stop the process that listens on a port'
complete -c tarnwickctl -n $noCommand -a why -d 'Show everything about one port'
complete -c tarnwickctl -n $noCommand -a free -d 'Stop the whole server on a port, and free it'
complete -c tarnwickctl -n $noCommand -a wait -d 'Wait until something listens on a port, or nothing'
complete -c tarnwickctl -n $noCommand -a url -d 'Print the URL of a port'
complete -c tarnwickctl -n $noCommand -a tiers -d 'Show the rules for tiers'
complete -c tarnwickctl -s h -l help -d 'Print the help and exit'
complete -c tarnwickctl -l version -d 'Print the version and exit'
complete -c tarnwickctl -n $showing -l tier -x -a 'system app dev unknown' -d 'Only listeners of this tier'
complete -c tarnwickctl -n $showing -l search -x -d 'Only listeners that contain a text'
complete -c tarnwickctl -n $showing -l not -x -d 'No listener that a search would show'
complete -c tarnwickctl -n $showing -l port -x -k -a '(__tarnwickctl_ports)' -d 'Only listeners on these ports'
complete -c tarnwickctl -n $showing -l user -x -a '(__fish_complete_users)' -d 'Only listeners of this user'
complete -c tarnwickctl -n $showing -l exposed -d 'Only what other machines can reach'
complete -c tarnwickctl -n "$showing; or __tarnwickctl_runs tiers" -l json -d 'Write JSON'
complete -c tarnwickctl -n $listing -l columns -x -a '(__tarnwickctl_columns)' -d 'What the table shows'
complete -c tarnwickctl -n $listing -l sort -x -a '(__tarnwickctl_columns -)' -d 'Sort by these columns'
complete -c tarnwickctl -n $listing -l group-by -x -a 'project tier user unit container' -d 'A heading for each'
complete -c tarnwickctl -n $listing -l pids -d 'Only the process identifiers'
complete -c tarnwickctl -n '__tarnwickctl_runs list watch kill why free' -l host -x -a '(__fish_print_hostnames)' -d 'On this machine, through ssh'
complete -c tarnwickctl -n $watching -l interval -x -d 'Seconds between two scans'
complete -c tarnwickctl -n "$killing; and not __tarnwickctl_kills pids" -k -a '(__tarnwickctl_ports)' -d 'Port'
complete -c tarnwickctl -n "$killing; and not __tarnwickctl_kills ports" -l pid -x -k -a '(__tarnwickctl_pids)' -d 'Stop this process instead'
# Without a word there, fish would offer nothing.
complete -c tarnwickctl -n "$killing; and __tarnwickctl_kills pids" -a '--pid --yes --system --host'
complete -c tarnwickctl -n $killing -s y -l yes -d 'Do not ask'
complete -c tarnwickctl -n $killing -l system -d 'Stop services of the system, too'
complete -c tarnwickctl -n $freeing -k -a '(__tarnwickctl_ports)' -d 'Port'
complete -c tarnwickctl -n $freeing -s y -l yes -d 'Do not ask'
complete -c tarnwickctl -n $freeing -l system -d 'Stop services of the system, too'
complete -c tarnwickctl -n $freeing -l dry-run -d 'Print what would be stopped, and do nothing'
complete -c tarnwickctl -n $explaining -l json -d 'Write JSON'
complete -c tarnwickctl -n $waiting -k -a '(__tarnwickctl_ports)' -d 'Port'
complete -c tarnwickctl -n $waiting -l free -d 'Wait until the ports can be bound instead'
complete -c tarnwickctl -n $waiting -l timeout -x -d 'Give up after that time'
complete -c tarnwickctl -n "$onePort; and __tarnwickctl_hasNoPort" -k -a '(__tarnwickctl_ports)' -d 'Port'
# Without a word there, fish would offer nothing.
complete -c tarnwickctl -n "$onePort; and not __tarnwickctl_hasNoPort" -a '--help --version'
# Without a word there, fish would offer nothing.
complete -c tarnwickctl -n '__tarnwickctl_runs tiers' -a '--help --version --json'
