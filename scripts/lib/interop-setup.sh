#!/bin/bash
# Fetches the servers of the interop tests and makes their certificates, all in one folder. Nothing
# is installed: Debian's Postfix, Exim and OpenSMTPD exclude one another, and none may touch the
# system. Debian's mirrors are needed once; with the folder complete nothing is done.
#
# Usage: scripts/lib/interop-setup.sh FOLDER      (as root, for the owners of the servers' folders)
#
#   FOLDER/system                what an installation of the packages would have put under /
#   FOLDER/system/etc/interop    an authority (ca.pem, the only one trusted there), a stranger to
#                                it, a certificate of each kind, with its key and chain, and
#                                what the authority answers about the good one (OCSP)
set -euo pipefail

mkdir -p "${1:?folder}"
folder=$(realpath "$1")
packages=(postfix exim4-daemon-light opensmtpd dovecot-core dovecot-submissiond microsocks
    dante-server libcurl3-gnutls libcurl4 libfaketime)

if [[ -e $folder/complete && ! $0 -nt $folder/complete ]]; then
    exit 0
fi
rm -rf "${folder:?}"/*
mkdir -p "$folder/system/etc/interop" "$folder/debs"

fetch_packages() {
    if ! apt-cache show postfix >/dev/null 2>&1; then
        apt-get update --quiet=2
    fi
    # Each alone: together they cannot be installed, and apt would refuse to say what they need.
    local needed=() package
    for package in "${packages[@]}"; do
        needed+=("$package")
        mapfile -t -O "${#needed[@]}" needed < <(
            apt-get install --simulate --no-install-recommends "$package" |
                awk '$1 == "Inst" { print $2 }')
    done
    mapfile -t needed < <(printf '%s\n' "${needed[@]}" | sort -u)
    (cd "$folder/debs" && apt-get download --quiet=2 -o APT::Sandbox::User=root "${needed[@]}")
    for package in "$folder"/debs/*.deb; do
        # What a package still has in /lib goes where the system's link leads.
        dpkg-deb --fsys-tarfile "$package" | tar -x -C "$folder/system" \
            --transform 's,^\./lib/,./usr/lib/,' --exclude=./usr/share/doc
    done
    rm -rf "$folder/debs"
}

# What the packages' own scripts would have done, and a login for dante, which asks the system.
add_users_and_folders() {
    cd "$folder/system"
    local id=880 name
    cp /etc/{passwd,group,shadow} etc
    for name in postfix postdrop dovecot dovenull Debian-exim opensmtpd opensmtpq user; do
        sed -i "/^$name:/d" etc/{passwd,group,shadow}
        echo "$name:x:$id:" >>etc/group
        echo "$name:x:$id:$id::/nonexistent:/bin/false" >>etc/passwd
        id=$((id + 1))
    done
    echo "user:$(openssl passwd -6 secret):::::::" >>etc/shadow
    install -d -o 880 var/lib/postfix
    install -d -o 884 var/spool/exim4
    install -d var/lib/{dovecot,opensmtpd/empty}
    install -d -m 777 var/log/interop
    install -d etc/ssl/certs
    cp etc/interop/ca.pem etc/ssl/certs/ca-certificates.crt
}

# certificate NAME AUTHORITY DAYS SERIAL
certificate() {
    openssl req -newkey rsa:2048 -nodes -subj "/CN=$1" -keyout "$1.key" 2>/dev/null |
        openssl x509 -req -CA "$2.pem" -CAkey "$2.key" -days "$3" -set_serial "$4" \
            -extfile <(echo subjectAltName=DNS:mail.example.test) -out "$1.crt" 2>/dev/null
    cat "$1.key" "$1.crt" "$2.pem" >"$1.pem"
    chmod 644 "$1.pem"
}

# answer NAME DAYS STATUS: what the authority says about the good certificate, and for how long.
answer() {
    printf '%s\t01\tunknown\t/CN=good\n' "$3" >index
    openssl ocsp -index index -CA ca.pem -rsigner ca.pem -rkey ca.key -issuer ca.pem \
        -cert good.crt -ndays "$2" -respout "$1.ocsp" 2>/dev/null
}

make_certificates() {
    cd "$folder/system/etc/interop"
    local authority
    for authority in ca stranger; do
        openssl req -x509 -newkey rsa:2048 -nodes -days 3650 -subj "/CN=$authority" \
            -keyout "$authority.key" -out "$authority.pem" 2>/dev/null
    done
    certificate good ca 3650 1
    certificate expired ca -1 2
    certificate untrusted stranger 3650 3
    answer good 3650 $'V\t991231235959Z\t'
    answer revoked 3650 $'R\t991231235959Z\t260101000000Z'
    FAKETIME=-30d LD_PRELOAD=$(echo "$folder"/system/usr/lib/*/faketime/libfaketime.so.1) \
        answer outdated 1 $'V\t991231235959Z\t'
}

fetch_packages
(make_certificates)
(add_users_and_folders)
touch "$folder/complete"
