# What the commands run and test need of Debian; to be sourced by them.

# To build and run.
buildPackages="g++ cmake ninja-build pkg-config libc6-dev libnewt-dev libslang2-dev \
libtomlplusplus-dev libsqlitecpp-dev libsqlite3-dev libcli11-dev nlohmann-json3-dev \
libudev-dev libpci-dev pci.ids"
# To test as well.
testPackages="libgtest-dev libvterm-dev librapidcheck-dev locales ncurses-bin groff-base man-db mandoc \
umockdev"
# To leave nothing out: the other compiler, and a virtual machine with a BMC.
fullPackages="clang-14 libclang-rt-14-dev llvm-14 qemu-system-x86 busybox-static freeipmi-tools"

die() {
    echo "$(basename "$0"): $*" >&2
    exit 1
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

# install PACKAGE...: those that are missing, with one question for a password at most
install() {
    command -v dpkg-query >/dev/null && command -v apt-get >/dev/null \
        || die "this needs a Debian system with apt-get, or these packages' likes: $*"
    scratch=$(mktemp) || die "no temporary file can be made in ${TMPDIR:-/tmp}"
    packages=$(missing "$@")
    rm -f "$scratch"
    [ -n "$packages" ] || return 0

    echo "installing with apt-get: $packages" >&2
    # Lists that can't be brought up to date may still be good enough.
    commands="export DEBIAN_FRONTEND=noninteractive
        apt-get -qq update || true
        apt-get -qq -y --no-install-recommends install $packages >/dev/null"
    if [ "$(id -u)" = 0 ]; then
        sh -c "$commands" </dev/null >&2
    elif command -v sudo >/dev/null; then
        sudo sh -c "$commands" >&2
    else
        die "be root, or install sudo, or have root type: apt-get install $packages"
    fi || die "apt-get could not install them; its messages are above"
}
