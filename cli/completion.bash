# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
#
# shellcheck shell=bash
# Completion for velmar: the commands and options that its own help names, else files.
_velmar() {
    local word=${COMP_WORDS[COMP_CWORD]} command=() help
    [ "$COMP_CWORD" -le 1 ] || command=("${COMP_WORDS[1]}")
    help=$("${COMP_WORDS[0]}" "${command[@]}" --help 2>/dev/null) || help=
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(grep -oE -- '--[a-z][a-z-]*' <<<"$help")" -- "$word")
    elif [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "$(awk '/^Subcommands:/ { on = 1; next }
            on && /^  [a-z]/ { print $1 }' <<<"$help")" -- "$word")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
    fi
}
complete -o filenames -F _velmar velmar
