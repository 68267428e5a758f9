# Sourced by the commands of this folder: the repository's root, and the installation of Debian
# packages that a command lacks.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# install_packages PACKAGE... : installs those that are missing; nothing happens when none is.
install_packages() {
    local missing=() package sudo=""
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || {
            echo "missing packages: ${missing[*]}; run as root, or install sudo" >&2
            return 1
        }
        sudo="sudo"
    fi
    echo "installing: ${missing[*]}" >&2
    local log
    log=$(mktemp)
    if ! { $sudo env DEBIAN_FRONTEND=noninteractive apt-get -q update &&
           $sudo env DEBIAN_FRONTEND=noninteractive apt-get -qy install --no-install-recommends \
               "${missing[@]}"; } >"$log" 2>&1; then
        tail -n 30 "$log" >&2
        echo "apt-get could not install: ${missing[*]} (whole log: $log)" >&2
        return 1
    fi
    rm -f "$log"
}

BUILD_PACKAGES=(g++ cmake ninja-build pkg-config nlohmann-json3-dev libfmt-dev libcli11-dev)
TEST_PACKAGES=(libgtest-dev)
BENCH_PACKAGES=(libbenchmark-dev)

# build PRESET [TARGET...] : configures and builds quietly; the whole output on failure.
build() {
    local preset=$1 log
    shift
    mkdir -p build
    log="build/$preset.log"
    echo "building ($preset), output in $log" >&2
    if ! { cmake --preset "$preset" ${CONFIGURE_ARGS:-} &&
           cmake --build --preset "$preset" ${*:+--target "$@"}; } >"$log" 2>&1; then
        tail -n 60 "$log" >&2
        return 1
    fi
}
