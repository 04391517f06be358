# SPDX-License-Identifier: MIT
# Completion of quietfloor's command line for bash. The program itself says what there is to choose from.

_quietfloor() {
    local program=${COMP_WORDS[0]} word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local options words=
    COMPREPLY=()
    # Lines such as ",-o,--output-dir DIR".
    options=$("$program" --help 2>/dev/null | sed -nE 's/^  (-[^ ]+)( [A-Z]+)?( .*)?$/,\1\2/p')
    case $previous in
        --preset) words=$("$program" --list-presets 2>/dev/null | sed -nE 's/^([^ ]+) .*/\1/p') ;;
        --estimator) words='gate log-spectral' ;;
        --format) words=$("$program" --list-formats 2>/dev/null | cut -d ' ' -f 1) ;;
        --subtype) words=$("$program" --list-formats 2>/dev/null | cut -d ' ' -f 2- | tr ' ' '\n') ;;
        --learn | --prime) words='auto off' ;;
        --link) words='on off' ;;
        -*)
            [[ $options != *,"$previous "[NXPS]* ]] || return # a number comes
            ;;
    esac
    if [[ -z $words && $word == -* ]]; then
        words=$(sed -E 's/ .*//; s/,/\n/g' <<<"$options")
    fi
    if [[ -n $words ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word" | sort -u)
    elif [[ $previous == -o || $previous == --output-dir ]]; then
        mapfile -t COMPREPLY < <(compgen -d -- "$word")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
    fi
}

complete -o filenames -F _quietfloor quietfloor
