# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
#
# shellcheck shell=bash
# Completion for velmar: the commands and options that its own help names, what velmar ask asks for,
# else files.
_velmar_ask() {
    local operations="ei ni gi ci mi di a an r rn im gc ec nc" word=$1 place=. keys
    shift 3 # velmar, ask
    if [ $# -gt 0 ] && [[ " $operations " != *" $1 "* ]]; then
        place=$1
        shift
    fi
    if [ $# -eq 0 ]; then
        compgen -W "$operations" -- "$word"
        [ "$place" != . ] || compgen -f -- "$word"
    elif [ $# -eq 1 ]; then
        compgen -W "$(velmar ask "$place" nc 2>/dev/null)" -- "$word"
        keys=$(velmar ask "$place" ni "${word%%.*}" 2>/dev/null | tr -d '"')
        [[ $word != *.* ]] || compgen -W "$keys" -- "$word"
    fi
}
_velmar() {
    local word=${COMP_WORDS[COMP_CWORD]} command=() help found
    [ "$COMP_CWORD" -le 1 ] || command=("${COMP_WORDS[1]}")
    help=$("${COMP_WORDS[0]}" "${command[@]}" --help 2>/dev/null) || help=
    if [[ $word == -* ]]; then
        found=$(compgen -W "$(grep -oE -- '--[a-z][a-z-]*' <<<"$help" | sort -u)" -- "$word")
    elif [ "$COMP_CWORD" -eq 1 ]; then
        found=$(compgen -W "$(awk '/^Subcommands:/ { on = 1; next } on && /^  [a-z]/ { print $1 }' \
            <<<"$help")" -- "$word")
    elif [ "${command[0]}" = ask ]; then
        found=$(_velmar_ask "$word" "${COMP_WORDS[@]:0:COMP_CWORD}")
    else
        found=$(compgen -f -- "$word")
    fi
    COMPREPLY=()
    [ -z "$found" ] || mapfile -t COMPREPLY <<<"$found"
}
complete -o filenames -F _velmar velmar
