#!/bin/sh
# Installs the packages that a make target needs and that are missing: setup.sh GROUP...
# Groups: build (library and programs), test, bench, check (format, lint, sanitizers), package (use when installed),
# docs (API reference, manual page), macos (the cross-build for macOS).
# Debian's and Homebrew's packages are installed; Apple's command line tools and Homebrew itself are asked for.
# Nothing is done where nothing is missing.
set -eu

debian_packages() {
    case $1 in
        build) echo "g++ cmake ninja-build libcli11-dev libfmt-dev nlohmann-json3-dev liblzma-dev libc-bin locales" ;;
        test) echo "libgtest-dev libgmock-dev" ;;
        bench) echo "libbenchmark-dev libboost-dev libboost-serialization-dev libcereal-dev libfmt-dev libssl-dev" ;;
        check) echo "clang clang-format clang-tidy libclang-rt-dev" ;;
        macos) echo "clang lld llvm"; command -v npm >/dev/null || echo npm ;;  # npm also comes with other Node.js packages
        package) echo "pkgconf" ;;
        docs) echo "doxygen mandoc python3" ;;
        *) echo "setup.sh: there is no group '$1'" >&2; return 1 ;;
    esac
}

homebrew_packages() {
    case $1 in
        build) echo "cmake ninja cli11 fmt nlohmann-json xz" ;;
        test) echo "googletest" ;;
        bench) echo "google-benchmark boost cereal openssl" ;;
        check) echo "llvm clang-format" ;;
        macos) ;;
        package) echo "pkgconf" ;;
        docs) echo "doxygen mandoc" ;;
        *) echo "setup.sh: there is no group '$1'" >&2; return 1 ;;
    esac
}

install_on_debian() {
    missing=
    for group in "$@"; do
        packages=$(debian_packages "$group")  # here, as a loop does not end where its list fails
        for package in $packages; do
            dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null | grep -q '^installed' ||
                missing="$missing $package"
        done
    done
    [ -n "$missing" ] || return 0

    as_root=
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || { echo "Please install as root: apt-get install$missing" >&2; exit 1; }
        as_root=sudo
    fi
    echo "Installing:$missing"
    $as_root apt-get update -qq
    # shellcheck disable=SC2086  # a list of words
    $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing >/dev/null
}

install_on_macos() {
    xcode-select -p >/dev/null 2>&1 || { echo "Please install Apple's command line tools: xcode-select --install" >&2; exit 1; }
    command -v brew >/dev/null || { echo "Please install Homebrew, then run this again: https://brew.sh" >&2; exit 1; }
    missing=
    for group in "$@"; do
        packages=$(homebrew_packages "$group")
        for package in $packages; do
            [ -d "$(brew --prefix)/opt/$package" ] || missing="$missing $package"
        done
    done
    [ -n "$missing" ] || return 0

    echo "Installing:$missing"
    # shellcheck disable=SC2086  # a list of words
    brew install --quiet $missing
}

case $(uname -s) in
    Darwin) install_on_macos "$@" ;;
    *)
        command -v apt-get >/dev/null || { echo "This script knows Debian and macOS; see it for what to install." >&2; exit 1; }
        install_on_debian "$@"
        ;;
esac
