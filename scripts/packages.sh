# need_packages NAME...: installs the Debian packages that are missing, or says what is needed where it may not.
# Everything is told on standard error, so that a caller's own output stays clean.
need_packages() {
    local missing=() name
    if ! command -v dpkg-query >/dev/null; then
        echo "This machine has no Debian packages. What is needed, by its Debian names: $*" >&2
        return 0
    fi
    for name in "$@"; do
        dpkg-query -W -f '${Status}' "$name" 2>/dev/null | grep -q 'ok installed' || missing+=("$name")
    done
    [ ${#missing[@]} -eq 0 ] && return 0

    local as=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! sudo -n true 2>/dev/null; then
            echo "Please install: sudo apt-get install ${missing[*]}" >&2
            return 1
        fi
        as=(sudo -n)
    fi
    echo "Installing: ${missing[*]}" >&2
    export DEBIAN_FRONTEND=noninteractive
    "${as[@]}" apt-get update -qq >&2 && "${as[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
}

packages_build=(g++ cmake ninja-build nlohmann-json3-dev)
packages_test=(libgtest-dev python3 curl jq socat groff-base pkgconf dpkg-dev file)
packages_bench=(valgrind python3)
packages_fuzz=(clang libclang-rt-dev)
packages_check=(git clang-format clang-tidy "${packages_fuzz[@]}")
