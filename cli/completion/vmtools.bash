# SPDX-License-Identifier: Apache-2.0
# bash completion for vmtools: commands, their options, device names and profile values.
# Installed as share/bash-completion/completions/vmtools, loaded when vmtools is completed.

_vmtools_devices()
{
    # The name is the first column: everything before the first two blanks.
    vmtools list --no-headers 2>/dev/null | sed -e 's/  .*$//'
}

_vmtools_words()
{
    COMPREPLY=($(compgen -W "$1" -- "$cur"))
}

_vmtools_lines()
{
    # One candidate a line, so that device names may hold blanks; quoted as file names are.
    local IFS=$'\n'
    compopt -o filenames 2>/dev/null
    COMPREPLY=($(compgen -W "$1" -- "$cur"))
}

_vmtools()
{
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}
    local commands="info doctor repair-network deploy-dir dump list show create clone rename delete
        start stop check wait-ip factory-backup factory-reset get set network export copy-disk
        delete-disk help"
    local globals="--json -v --verbose -q --quiet --log-file -h --help --version"
    local keys="resolution density full-screen navigation-bar virtual-keyboard camera gyroscope
        hx full-hx cpus memory device-id product-name product-model product-manufacturer
        product-brand product-board product-device build-display-id serial build-type
        fingerprint build-tags android-version platform quillomate-version"
    local read_only="build-version-release template-uuid data-disk-size device-version
        release-date"
    local flags="full-screen navigation-bar virtual-keyboard camera gyroscope hx full-hx"

    case $prev in
    --log-file)
        COMPREPLY=($(compgen -f -- "$cur"))
        return
        ;;
    --cpus | --memory | --sdcard | --timeout)
        return
        ;;
    esac

    # The command word and the arguments before the cursor, without options and their values.
    local command="" arguments=() i word
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        case $word in
        --log-file | --cpus | --memory | --sdcard | --timeout) ((i++)) ;;
        -*) ;;
        *)
            if [[ -z $command ]]; then
                command=$word
            else
                arguments+=("$word")
            fi
            ;;
        esac
    done

    if [[ -z $command ]]; then
        if [[ $cur == -* ]]; then
            _vmtools_words "$globals"
        else
            _vmtools_words "$commands"
        fi
        return
    fi

    local options=""
    case $command in
    list) options="--no-headers" ;;
    create) options="--cpus --memory --sdcard" ;;
    clone) options="--from-factory" ;;
    start) options="--gui --wait --timeout" ;;
    wait-ip) options="--timeout" ;;
    delete | factory-reset | delete-disk) options="-y --yes" ;;
    esac
    if [[ $cur == -* ]]; then
        _vmtools_words "$options $globals"
        return
    fi

    local position=${#arguments[@]}
    case $command in
    show | delete | start | stop | check | wait-ip | factory-backup | factory-reset | clone | \
        rename | get | set | network | export)
        if ((position == 0)); then
            _vmtools_lines "$(_vmtools_devices)"
            return
        fi
        ;;
    esac
    case $command in
    help)
        if ((position == 0)); then
            _vmtools_words "$commands"
        fi
        ;;
    get)
        _vmtools_words "$keys $read_only"
        ;;
    set)
        if ((position % 2 == 1)); then
            _vmtools_words "$keys"
        elif [[ " $flags " == *" ${arguments[position - 1]} "* ]]; then
            _vmtools_words "on off"
        fi
        ;;
    network)
        if ((position == 1)); then
            _vmtools_words "nat bridged interfaces"
        elif ((position == 2)) && [[ ${arguments[1]} == bridged ]]; then
            _vmtools_lines "$(vmtools network "${arguments[0]}" interfaces 2>/dev/null |
                grep -v '^No bridgeable interfaces\.$')"
        fi
        ;;
    create)
        if ((position == 1)); then
            compopt -o filenames 2>/dev/null
            COMPREPLY=($(compgen -f -X '!*.[oO][vV][aA]' -- "$cur") $(compgen -d -- "$cur"))
        fi
        ;;
    export | copy-disk | delete-disk | dump)
        compopt -o filenames 2>/dev/null
        COMPREPLY=($(compgen -f -- "$cur"))
        ;;
    deploy-dir)
        compopt -o filenames 2>/dev/null
        COMPREPLY=($(compgen -d -- "$cur"))
        ;;
    esac
}

complete -F _vmtools vmtools
