# SPDX-License-Identifier: GPL-2.0-or-later
# Completion of yatctl for bash; the devices are those of the machine.
_yatctl()
{
    local word=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]} words=
    if [ "$COMP_CWORD" = 1 ]; then
        words="list show start stop clear set-type update settings bmc watch metrics --help --version"
    elif [ "$COMP_CWORD" = 3 ] && [ "$command" = set-type ]; then
        words="0 1 2"
    elif [ "$COMP_CWORD" = 3 ] && [ "$command" = update ]; then
        words="copy file"
    else
        case $command in
            list | show | bmc | watch) words="--json" ;;
            start | stop | update) words="--check --yes --wait --json" ;;
            clear | set-type) words="--check --yes --json" ;;
            settings)
                # The value after the "=" is a word of its own.
                words="automatic_firmware_update= automatic_module_start= on off --check --yes --json"
                ;;
            metrics) words="--output" ;;
        esac
        if [ "$command" = watch ]; then words="$words --interval"; fi
        if [ "$COMP_CWORD" = 2 ]; then
            case $command in
                show | start | stop | clear | set-type | update)
                    words="$words $("${COMP_WORDS[0]}" list 2>/dev/null | awk 'NR > 1 {print $1}')"
                    ;;
            esac
        fi
    fi
    COMPREPLY=($(compgen -W "$words --help" -- "$word"))
}
complete -F _yatctl yatctl
