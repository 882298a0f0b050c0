# SPDX-License-Identifier: GPL-2.0-or-later
# What the commands run and test need of Debian; to be sourced by them.

# To build and run.
buildPackages="g++ cmake ninja-build pkg-config libc6-dev libnewt-dev libslang2-dev \
libtomlplusplus-dev libsqlite3-dev libcli11-dev nlohmann-json3-dev \
libudev-dev libpci-dev pci.ids libmount-dev libnl-route-3-dev"
# To test as well.
testPackages="libgtest-dev libvterm-dev librapidcheck-dev locales ncurses-bin groff-base man-db \
mandoc dpkg-dev umockdev python3-jsonschema codespell cppcheck"
# To leave nothing out: the other compiler, a virtual machine with a BMC, and a fresh Debian.
fullPackages="clang-14 clang-format-14 libclang-rt-14-dev llvm-14 qemu-system-x86 valgrind \
busybox-static pciutils freeipmi-tools prometheus prometheus-node-exporter ansible-core \
ansible-lint yamllint openssh-server debootstrap"
# To build packages, and to look them through.
packagePackages="debhelper dpkg-dev lintian git binutils diffoscope-minimal"

die() {
    echo "$(basename "$0"): $*" >&2
    exit 2
}

# missing PACKAGE...: those of them that are not installed
missing() {
    # dpkg-query knows nothing of a package that never was on the machine.
    dpkg-query -W -f '${db:Status-Status} ${Package}\n' "$@" 2>/dev/null \
        | sed -n 's/^installed //p' >"$scratch"
    for package in "$@"; do
        grep -qx -- "$package" "$scratch" || printf '%s ' "$package"
    done
}

# Whoever sits at a terminal is asked before the system is changed.
agree() { # PACKAGES
    echo "missing packages: $1" >&2
    [ -t 0 ] && [ -t 2 ] || return 0
    printf 'Install them with apt-get? [Y/n] ' >&2
    read -r answer || answer=n
    case $answer in
    '' | [Yy]*) ;;
    *) die "nothing was installed; to do it yourself: apt-get install $1" ;;
    esac
}

# install PACKAGE...: those that are missing
install() {
    command -v dpkg-query >/dev/null && command -v apt-get >/dev/null \
        || die "this needs a Debian system with apt-get, or these packages' likes: $*"
    scratch=$(mktemp) || die "no temporary file can be made in ${TMPDIR:-/tmp}"
    packages=$(missing "$@")
    rm -f "$scratch"
    [ -n "$packages" ] || return 0

    asRoot=
    if [ "$(id -u)" != 0 ]; then
        command -v sudo >/dev/null \
            || die "packages are missing, and only root can install them: apt-get install $packages"
        asRoot=sudo
    fi
    agree "$packages"
    # Lists that can't be brought up to date may still be good enough.
    $asRoot sh -c "export DEBIAN_FRONTEND=noninteractive
        exec </dev/null >&2
        apt-get update || true
        apt-get -y --no-install-recommends install $packages" \
        || die "apt-get could not install them; its messages are above"
}
