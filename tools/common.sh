# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
#
# shellcheck shell=bash
# Sourced by the commands of this folder: the repository's root, and the installation of Debian
# packages that a command lacks.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# as_root COMMAND... : runs it as root, through sudo where this user is not root.
as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        echo "run as root, or install sudo, for: $*" >&2
        return 1
    fi
}

# install_packages PACKAGE... : installs those that are missing; nothing happens when none is.
install_packages() {
    local missing=() package log
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    echo "installing: ${missing[*]}" >&2
    log=$(mktemp)
    if ! { as_root apt-get -q update &&
           as_root env DEBIAN_FRONTEND=noninteractive apt-get -qy install --no-install-recommends \
               "${missing[@]}"; } >"$log" 2>&1; then
        tail -n 30 "$log" >&2
        echo "apt-get could not install: ${missing[*]} (whole log: $log)" >&2
        return 1
    fi
    rm -f "$log"
}

# shellcheck disable=SC2034  # used by those that source this
{
    BUILD_PACKAGES=(g++ cmake ninja-build pkg-config nlohmann-json3-dev libfmt-dev libcli11-dev
                    libcpp-httplib-dev libpugixml-dev libssl-dev)
    TEST_PACKAGES=(libgtest-dev openssl python3 sblim-wbemcli)
    BENCH_PACKAGES=(libbenchmark-dev)
}

# tell_progress LOG : copies ninja's output to the log and says after each tenth how far it is.
tell_progress() {
    local line told=0
    while IFS= read -r line; do
        printf '%s\n' "$line" >>"$1"
        [[ $line =~ ^\[([0-9]+)/([0-9]+)\] ]] || continue
        if ((BASH_REMATCH[1] * 10 / BASH_REMATCH[2] > told)); then
            told=$((BASH_REMATCH[1] * 10 / BASH_REMATCH[2]))
            echo "  built ${BASH_REMATCH[1]} of ${BASH_REMATCH[2]}" >&2
        fi
    done
}

# build PRESET [-DOPTION=VALUE ...] [TARGET ...] : configures and builds; the output's end on failure.
build() {
    local preset=$1 log argument options=() targets=()
    shift
    for argument in "$@"; do
        case $argument in
            -D*) options+=("$argument") ;;
            *) targets+=("$argument") ;;
        esac
    done
    [ ${#targets[@]} -eq 0 ] || targets=(--target "${targets[@]}")
    mkdir -p build
    log="build/$preset.log"
    echo "building ($preset), output in $log" >&2
    if ! cmake --preset "$preset" "${options[@]}" >"$log" 2>&1 ||
        ! cmake --build --preset "$preset" "${targets[@]}" 2>&1 | tell_progress "$log"; then
        tail -n 60 "$log" >&2
        return 1
    fi
}
