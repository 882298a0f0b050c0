# SPDX-License-Identifier: GPL-2.0-or-later
# What the tests in virtual machines share; to be sourced by them. They say what they are called
# (name), and where the build is (build), its cache of the kernel (cache) and what they make (work).

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

die() {
    echo "$name: $*" >&2
    exit 1
}

skip() {
    echo "$name: skipped: $*" >&2
    exit 77
}

need() { # COMMAND PACKAGE
    command -v "$1" >/dev/null || skip "$1 is missing: apt-get install $2"
}

# The name of the kernel package, out of the package lists.
kernelPackage() {
    apt-cache $apt depends linux-image-amd64 2>/dev/null \
        | sed -n 's/^ *Depends: \(linux-image-[0-9][^ ]*\)$/\1/p' | head -n 1
}

# The kernel modules that the machines need, and those that these need.
wantedModules='ipmi_msghandler ipmi_devintf ipmi_si e1000e virtio_pci virtio_scsi sd_mod ext4
    crc32c_generic'

# Puts the kernel and its modules into the cache, if they are not there.
fetchKernel() {
    [ ! -f "$cache/whole" ] || return 0
    # As root, apt-get would keep its own caches up to date elsewhere.
    apt='-o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache= -o APT::Sandbox::User=root'
    need apt-get apt
    package=$(kernelPackage)
    [ -n "$package" ] || skip "no package linux-image-amd64 is known: apt-get update"
    echo "fetching $package"
    (cd "$work" && apt-get $apt -q download "$package") \
        || skip "$package can't be fetched: apt-get update, or look at the network"
    mkdir "$work/kernel"
    dpkg-deb --fsys-tarfile "$work/$package"_*.deb | tar -x -C "$work/kernel" --wildcards \
        './boot/vmlinuz-*' './lib/modules/*'
    if [ -n "$(find "$work/kernel" -name '*.ko.xz')" ]; then
        need xz xz-utils
        find "$work/kernel" -name '*.ko.xz' -exec xz -d {} +
    fi
    mkdir -p "$work/cache/modules"
    cp "$work"/kernel/boot/vmlinuz-* "$work/cache/vmlinuz"
    modules=$(echo "$work"/kernel/lib/modules/*)
    "$busybox" depmod -b "$work/kernel" "$(basename "$modules")"
    for module in $wantedModules; do
        files=$(sed -n "s/:\(.*\)/\1/; \#/$module\.ko#p" "$modules/modules.dep")
        [ -n "$files" ] || die "$package has no module $module"
        for file in $files; do
            cp "$modules/$file" "$work/cache/modules"
        done
    done
    mkdir -p "$build/tests/vm"
    rm -rf "$cache"
    mv "$work/cache" "$cache"
    touch "$cache/whole" # moving is copying when they are on different disks
}

# Copies what a program or library needs besides the product's own libraries.
copyLibraries() { # FILE
    ldd "$1" 2>/dev/null | sed -n 's/.*=> \(\/[^ ]*\) .*/\1/p; s/^[ \t]*\(\/[^ ]*\) .*/\1/p' \
        | while read -r library; do
        case $library in
        "$build"/*) continue ;;
        esac
        mkdir -p "$tree/$(dirname "$library")"
        cp -L "$library" "$tree/$library"
    done
}

# An initial file system out of the directory tree.
packTree() {
    chmod -R a+rX "$tree" # whatever the umask was that the product was built with
    (cd "$tree" && find . | "$busybox" cpio -o -H newc) >"$work/initrd" 2>/dev/null
}
