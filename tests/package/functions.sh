# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
#
# shellcheck shell=bash
# Sourced by the scripts of this folder, which set compiler.
set -euo pipefail
package=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source=$(cd "$package/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

# quiet COMMAND... : shows the output on failure only.
quiet() {
    "$@" >"$work/log" 2>&1 || {
        cat "$work/log"
        echo "failed: $*"
        exit 1
    }
}

# says PATTERN COMMAND... : the command fails and says what the pattern matches.
says() {
    local text=$1
    shift
    if "$@" >"$work/log" 2>&1; then
        echo "does not fail: $*"
        exit 1
    fi
    tr -s '\n ' ' ' <"$work/log" | grep -q -- "$text" || {
        cat "$work/log"
        echo "\"$text\" is not said by: $*"
        exit 1
    }
}

# configure FOLDER NAME [ARGUMENT...] : into the build folder $work/NAME, for $generator.
generator=Ninja
configure() {
    cmake -G "$generator" -S "$1" -B "$work/$2" -DCMAKE_PREFIX_PATH="$prefix" \
          -DCMAKE_CXX_COMPILER="$compiler" "${@:3}"
}

# stand_in OBJECTS : makes the folder $sdk in the place of a real OpenPegasus: the embedded server's
# objects, which the file lists, under the names of OpenPegasus' libraries.
stand_in() {
    sdk=$work/pegasus
    mkdir -p "$sdk/src" "$sdk/lib"
    ln -s "$source/server/include/Pegasus" "$sdk/src/Pegasus"
    quiet "$compiler" -shared -o "$sdk/lib/libpegcommon.so" -Wl,-soname,libpegcommon.so "@$1"
    local name
    for name in pegprovider pegclient; do
        quiet "$compiler" -shared -o "$sdk/lib/lib$name.so" -Wl,-soname,lib$name.so -xc++ /dev/null
    done
}
