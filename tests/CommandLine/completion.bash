# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

# Read by an interactive bash of the tests: Ctrl-T puts everything that bash offers into the line,
# Ctrl-O prints the line and clears it.

PS1='ready> '
unset HISTFILE
source "$COMPLETIONS/tarnwickctl.bash"

show()
{
    printf '<<%s>>\n' "$READLINE_LINE"
    READLINE_LINE='' READLINE_POINT=0
}
bind '"\C-t": insert-completions'
bind -x '"\C-o": show'
