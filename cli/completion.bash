# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
#
# shellcheck shell=bash
# Completion for velmar: the commands and options that its own help names, else files.
_velmar() {
    local word=${COMP_WORDS[COMP_CWORD]} command=() help found
    [ "$COMP_CWORD" -le 1 ] || command=("${COMP_WORDS[1]}")
    help=$("${COMP_WORDS[0]}" "${command[@]}" --help 2>/dev/null) || help=
    if [[ $word == -* ]]; then
        found=$(compgen -W "$(grep -oE -- '--[a-z][a-z-]*' <<<"$help" | sort -u)" -- "$word")
    elif [ "$COMP_CWORD" -eq 1 ]; then
        found=$(compgen -W "$(awk '/^Subcommands:/ { on = 1; next } on && /^  [a-z]/ { print $1 }' \
            <<<"$help")" -- "$word")
    else
        found=$(compgen -f -- "$word")
    fi
    COMPREPLY=()
    [ -z "$found" ] || mapfile -t COMPREPLY <<<"$found"
}
complete -o filenames -F _velmar velmar
