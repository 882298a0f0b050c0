# SPDX-License-Identifier: GPL-2.0-or-later
# Configuring; to be sourced by the commands, after they have gone to $top.

# What is staged at build/root, and nothing else.
product='lib/all src/all tools/all data/all'

# isOurs DIRECTORY: was this build directory made for these sources, and at this place? A copied one
# would go on building the sources that it was copied from.
isOurs() {
    for key in CMAKE_HOME_DIRECTORY:INTERNAL CMAKE_CACHEFILE_DIR:INTERNAL; do
        place=$(sed -n "s/^$key=//p" "$1/CMakeCache.txt") || return 1
        case $(readlink -f "$place") in
        "$top" | "$top/$1") ;;
        *) return 1 ;;
        esac
    done
}

# configure PRESET [ARGUMENT of cmake]...
configure() {
    preset=$1
    shift
    directory=build
    [ "$preset" = default ] || directory=build-$preset
    if [ -f "$directory/CMakeCache.txt" ] && ! isOurs "$directory"; then
        echo "$directory was made elsewhere: configuring it anew" >&2
        set -- --fresh "$@"
    fi
    cmake --preset "$preset" "$@"
}
