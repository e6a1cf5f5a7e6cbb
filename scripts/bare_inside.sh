#!/usr/bin/env bash
# Runs the part of scripts/bare that needs mount and process namespaces of its own:
# bare_inside.sh make|run WORK CACHE JOB. WORK/root is the root, WORK/clone the tree; WORK/sources
# has the release, the mirror and the sources.
set -euo pipefail

step=$1 work=$2 cache=$3 job=$4
new=$work/root
trap 'exit 143' INT TERM HUP

proxy_of() { apt-config shell proxy "Acquire::$1::Proxy" | sed -n "s/^proxy='\(.*\)'$/\1/p"; }

make_root() {
    local release mirror
    { read -r release && read -r mirror; } <"$work/sources"
    export http_proxy=${http_proxy:-$(proxy_of http)} https_proxy=${https_proxy:-$(proxy_of https)}
    debootstrap --variant=minbase "$release" "$new" "$mirror"
    rm -f "$new"/var/cache/apt/archives/*.deb
    set_up_apt
    cp --remove-destination -L /etc/resolv.conf /etc/hosts "$new/etc/" || true
    mkdir -p "$new/root" "$new/var/cache/ccache"
    mv "$work/clone" "$new/root/kelvo"
}

# Packages come from the sources of this machine. Writes need no sync to disk: the root is temporary.
set_up_apt() {
    sed '1,2d; s/^/deb /' "$work/sources" >"$new/etc/apt/sources.list"
    apt-config dump Acquire | grep -E '::(Proxy|Check-Valid-Until|Check-Date) "' \
        >"$new/etc/apt/apt.conf.d/as-outside" || true
    echo force-unsafe-io >"$new/etc/dpkg/dpkg.cfg.d/unsafe-io"
}

mount_all() {
    mount -t proc proc "$new/proc"
    mount -t sysfs -o ro sysfs "$new/sys"
    mount -t devpts -o newinstance,ptmxmode=0666,mode=0620 devpts "$new/dev/pts"
    mount --bind "$new/dev/pts/ptmx" "$new/dev/ptmx"
    mount -t tmpfs -o mode=1777 tmpfs "$new/dev/shm"
    mount --bind "$cache" "$new/var/cache/ccache"
}

run_job() {
    mount_all
    chroot "$new" env -i HOME=/root TERM="${TERM:-dumb}" PATH=/usr/sbin:/usr/bin:/sbin:/bin \
        CCACHE_DIR=/var/cache/ccache CCACHE_MAXSIZE="$CCACHE_MAXSIZE" \
        CCACHE_STATSLOG=/var/log/ccache-stats \
        http_proxy="${http_proxy-}" https_proxy="${https_proxy-}" \
        "/root/kelvo/scripts/$job"
}

case $step in
make) make_root ;;
run) run_job ;;
esac
