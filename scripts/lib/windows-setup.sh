#!/bin/bash
# Builds what the library and its tests need on Windows, once: a static libcurl with Schannel,
# libiconv and GoogleTest, into the folder given. Sources: Debian's own of libcurl, the npm package "iconv" for
# libiconv (Debian has none), libgtest-dev.
#
# Usage: windows-setup.sh FOLDER
set -euo pipefail
here=$(cd "$(dirname "$0")/../.." && pwd)
mkdir -p "${1:?folder}"
cd "$1"
prefix=$PWD/prefix
mkdir -p "$prefix/include"
ln -sf /usr/include/asio /usr/include/asio.hpp "$prefix/include"  # Headers alone.
if [[ -e $prefix/complete ]]; then
    exit 0
fi
cross=(cmake -G Ninja -DCMAKE_TOOLCHAIN_FILE="$here/cmake/windows.cmake" -DCMAKE_BUILD_TYPE=Release
    -DCMAKE_INSTALL_PREFIX="$prefix" -DBUILD_SHARED_LIBS=OFF)

quietly() {
    if ! "$@" >last-command.log 2>&1; then
        cat last-command.log >&2
        echo "failed: $*" >&2
        exit 1
    fi
}

# apt with a list of sources and a state of its own: the system's stay as they are.
debian_source() {
    mkdir -p apt/lists/partial apt/cache/archives/partial apt/parts
    local file
    for file in /etc/apt/sources.list /etc/apt/sources.list.d/*; do
        if [[ -e $file ]] && grep -q 'debian\.org\|bookworm' "$file"; then
            sed -e 's/^deb /deb-src /' -e 's/^Types:.*/Types: deb-src/' "$file" \
                >"apt/parts/$(basename "$file")"
        fi
    done
    local own=(-o Dir::Etc::sourcelist=/dev/null -o Dir::Etc::sourceparts="$PWD/apt/parts"
        -o Dir::State::lists="$PWD/apt/lists" -o Dir::Cache="$PWD/apt/cache"
        -o APT::Sandbox::User=root)
    quietly apt-get "${own[@]}" update
    quietly apt-get "${own[@]}" source "$1"
}

echo 'libcurl'
debian_source curl
rm -rf curl && mv curl-*/ curl
disabled=(DICT FILE FTP GOPHER IMAP LDAP LDAPS MQTT POP3 RTSP SMB TELNET TFTP)
disabled=("${disabled[@]/#/-DCURL_DISABLE_}")
quietly "${cross[@]}" -S curl -B curl/build -DCURL_USE_SCHANNEL=ON -DUSE_WIN32_IDN=ON \
    -DBUILD_CURL_EXE=OFF -DBUILD_TESTING=OFF -DCURL_ZLIB=OFF -DCURL_USE_LIBSSH2=OFF \
    -DCURL_USE_LIBPSL=OFF -DENABLE_MANUAL=OFF "${disabled[@]/%/=ON}"
quietly cmake --build curl/build --target install

echo 'libiconv'
quietly npm pack iconv@3.0.1
rm -rf package && tar -xzf iconv-3.0.1.tgz
cp "$here/cmake/libiconv.cmake" package/CMakeLists.txt
# As the C library declares it.
sed -i 's/const char\* \* inbuf,/char* * inbuf,/' package/support/iconv.h
quietly "${cross[@]}" -S package -B package/build
quietly cmake --build package/build --target install

echo 'GoogleTest'
quietly "${cross[@]}" -S /usr/src/googletest -B googletest -DBUILD_GMOCK=OFF
quietly cmake --build googletest --target install
touch "$prefix/complete"
