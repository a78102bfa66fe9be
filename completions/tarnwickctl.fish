# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

# Completions of tarnwickctl for fish.

function __tarnwickctl_ports
    tarnwickctl list --json 2>/dev/null | string replace -rf '^\{"pid":\d+,"port":(\d+),.*' '$1' | sort -nu
end

function __tarnwickctl_pids
    tarnwickctl list --json 2>/dev/null | string replace -rf '^\{"pid":([1-9]\d*),.*' '$1' | sort -nu
end

# A command comes before any option.
set -l noCommand 'test (count (commandline -opc)) -eq 1'
set -l showing 'not __fish_seen_subcommand_from kill'
set -l watching '__fish_seen_subcommand_from watch'
set -l killing '__fish_seen_subcommand_from kill'

complete -c tarnwickctl -f
complete -c tarnwickctl -n $noCommand -a list -d 'Show the listeners'
complete -c tarnwickctl -n $noCommand -a watch -d 'Show the listeners as they come and go'
complete -c tarnwickctl -n $noCommand -a kill -d 'Stop the process that listens on a port'
complete -c tarnwickctl -s h -l help -d 'Print the help and exit'
complete -c tarnwickctl -l version -d 'Print the version and exit'
complete -c tarnwickctl -n $showing -l tier -x -a 'system app dev unknown' -d 'Only listeners of this tier'
complete -c tarnwickctl -n $showing -l search -x -d 'Only listeners that contain a text'
complete -c tarnwickctl -n $showing -l port -x -k -a '(__tarnwickctl_ports)' -d 'Only listeners on this port'
complete -c tarnwickctl -n $showing -l json -d 'Write JSON'
complete -c tarnwickctl -n $watching -l interval -x -d 'Seconds between two looks'
complete -c tarnwickctl -n $killing -k -a '(__tarnwickctl_ports)' -d 'Port'
complete -c tarnwickctl -n $killing -l pid -x -k -a '(__tarnwickctl_pids)' -d 'Stop this process instead'
complete -c tarnwickctl -n $killing -s y -l yes -d 'Do not ask'
complete -c tarnwickctl -n $killing -l system -d 'Stop services of the system, too'
