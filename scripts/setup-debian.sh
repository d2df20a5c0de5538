#!/bin/bash
# Installs what Debian 12 needs for a purpose, if it is missing. Without anything missing it needs
# neither the network nor root.
#
# Usage: scripts/setup-debian.sh build|demo|dev|asan|tsan|clang|release|bench|lint|fuzz|interop|outbox|docs|windows|abi|packages
set -euo pipefail

is_installed() {
    [[ $(dpkg-query --show --showformat='${db:Status-Abbrev}' "$1" 2>/dev/null) == ii* ]]
}

purpose=${1:?purpose}
packages=(g++ cmake ninja-build pkg-config)
# Debian's other flavours of libcurl do as well; they and this one throw each other out.
if ! is_installed libcurl4-gnutls-dev && ! is_installed libcurl4-nss-dev; then
    packages+=(libcurl4-openssl-dev libssl-dev)
fi
server=(python3-aiosmtpd openssl ca-certificates)
tests=(libgtest-dev "${server[@]}" locales libglib2.0-dev libuv1-dev libasio-dev
    nlohmann-json3-dev qt6-base-dev xvfb xauth)
case $purpose in
    build) ;;
    docs) packages=(doxygen) ;;
    abi) packages+=("${tests[@]}" abigail-tools) ;;
    packages) packages+=("${tests[@]}" lintian dpkg-dev file) ;;
    demo) packages+=("${server[@]}") ;;
    dev | asan | tsan | interop) packages+=("${tests[@]}") ;;
    outbox)
        packages+=("${tests[@]}" postgresql libpq-dev libcli11-dev python3-psycopg2)
        ;;
    windows)
        packages+=(libgtest-dev libasio-dev dpkg-dev clang g++-mingw-w64-x86-64-posix wine64 wine)
        command -v npm >/dev/null || packages+=(npm)
        ;;
    clang) packages+=("${tests[@]}" clang) ;;
    release) packages+=("${tests[@]}" libbenchmark-dev libssl-dev) ;;
    bench) packages+=(libbenchmark-dev libssl-dev libasio-dev openssl python3-matplotlib) ;;
    lint) packages+=(clang clang-tidy clang-format cppcheck) ;;
    fuzz) packages+=(clang libclang-rt-14-dev) ;;
    *)
        echo "$0: unknown purpose: $purpose" >&2
        exit 2
        ;;
esac

missing=()
for package in "${packages[@]}"; do
    is_installed "$package" || missing+=("$package")
done
if ((${#missing[@]} == 0)); then
    exit 0
fi
as_root=()
if ((EUID != 0)); then
    as_root=(sudo)
fi
echo "Installing ${missing[*]}"
"${as_root[@]}" apt-get update --quiet=2
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install --yes --quiet=2 --no-install-recommends "${missing[@]}" >/dev/null
