# SPDX-License-Identifier: GPL-2.0-or-later
# Completion of yatctl for bash; the devices are those of the machine.

# Says on standard output what the argument after so many can be.
_yatctl_arguments() # COMMAND COUNT
{
    case $1-$2 in
        show-0 | start-0 | stop-0 | clear-0 | set-type-0 | update-0)
            "${COMP_WORDS[0]}" list 2>/dev/null | awk 'NR > 1 {print $1}'
            ;;
        set-type-1) echo 0 1 2 ;;
        update-1) echo copy file ;;
        settings-*) echo automatic_firmware_update= automatic_module_start= ;;
    esac
}

_yatctl_options() # COMMAND
{
    case $1 in
        list | show | bmc) echo --json ;;
        watch) echo --json --interval ;;
        start | stop | update) echo --check --yes --wait --json ;;
        clear | set-type | settings) echo --check --yes --json ;;
        metrics) echo --output ;;
    esac
}

_yatctl()
{
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local command=${COMP_WORDS[1]} given=0 words= i
    COMPREPLY=()
    if [ "$COMP_CWORD" = 1 ]; then
        words="list show start stop clear set-type update settings bmc watch metrics --help --version"
        COMPREPLY=($(compgen -W "$words" -- "$word"))
        return
    fi
    # To bash, "=" is a word, and what follows it another one.
    if [ "$word" = = ]; then
        word= before="="
    fi
    case $before in
        =)
            if [ "$command" = settings ]; then COMPREPLY=($(compgen -W "on off" -- "$word")); fi
            return
            ;;
        --output)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            return
            ;;
        --interval) return ;;
    esac
    for ((i = 2; i < COMP_CWORD; ++i)); do
        case ${COMP_WORDS[i]} in
            = | --output | --interval) ((++i)) ;; # and its value
            -*) ;;
            *) ((++given)) ;;
        esac
    done
    case $word in
        -*) words="$(_yatctl_options "$command") --help" ;;
        *) words=$(_yatctl_arguments "$command" "$given") ;;
    esac
    COMPREPLY=($(compgen -W "${words:-$(_yatctl_options "$command") --help}" -- "$word"))
    case ${COMPREPLY[0]} in
        *=) compopt -o nospace 2>/dev/null ;;
    esac
}
complete -F _yatctl yatctl
