# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

# Read by an interactive zsh of the tests: Ctrl-T puts everything that zsh offers into the line,
# Ctrl-O prints the line and clears it.

PS1='ready> '
fpath=($COMPLETIONS $fpath)
autoload -U compinit && compinit -u -D

zle -C offer complete-word _generic
zstyle ':completion:offer:*' completer _all_matches _complete
zstyle ':completion:offer:*' insert true
show() {
    print -r -- "<<$BUFFER>>"
    BUFFER=
}
zle -N show
bindkey '^T' offer
bindkey '^O' show
