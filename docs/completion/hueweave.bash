# SPDX-License-Identifier: MIT
# Completion of the command hueweave for bash; installed as bash-completion/completions/hueweave.

_hueweave() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local commands="convert watch status inspect bake verify check report spaces help"
    local options="-h --help -V --version" values="" kind=none assigned="" prefix="" i

    # --to=srgb: three words for Bash, which are one only where COMP_WORDBREAKS has no "=".
    if [[ $word == --*=* ]]; then
        assigned=yes before=${word%%=*} prefix=${word%%=*}= word=${word#*=}
    elif [[ $word == "=" ]]; then
        assigned=yes word=""
    elif [[ $before == "=" ]]; then
        assigned=yes before=${COMP_WORDS[COMP_CWORD - 2]}
    fi

    local command=
    for ((i = 1; i < COMP_CWORD; ++i)); do
        [[ ${COMP_WORDS[i]} == -* ]] || { command=${COMP_WORDS[i]}; break; }
    done
    case $command in
    "") values=$commands ;;
    convert)
        kind=files
        options="-h --help -o --output --profile --to --intent --lightness --chroma --hue --curve --source --others --no-tag
            --force --in-place -j --jobs --max-memory --files-from -0 --base --format --quality --shard --resume --dry-run
            -q --quiet --json --follow --precision --accept-error --bpc --icc-version --grey-to-rgb -v --verbose
            --no-sandbox"
        ;;
    watch)
        kind=files
        options="-h --help -o --output --settle --profile --to --intent --lightness --chroma --hue --curve --source
            --others --no-tag --force -j --jobs --max-memory -q --quiet --json --follow --precision --accept-error --bpc
            --icc-version --grey-to-rgb -v --verbose --no-sandbox"
        ;;
    status)
        kind=files
        options="-h --help --files-from --base --format --follow --list -0 --json --no-sandbox"
        ;;
    inspect) kind=files options="-h --help --json --no-sandbox" ;;
    bake) kind=files options="-h --help -o --output --force -q --quiet --json --no-sandbox" ;;
    verify) kind=files options="-h --help --image --to --intent --precision --bits --points --limit --json --no-sandbox" ;;
    check)
        kind=files
        options="-h --help --profile --to --precision --intent --bpc --absolute --worst --limit --guideline --json --no-sandbox"
        ;;
    report) kind=files options="-h --help -o --output --to --intent --chart --max-memory --force -q --quiet --no-sandbox" ;;
    spaces) options="-h --help --json" ;;
    help) options="" values=$commands ;;
    *) return ;;
    esac

    # What may follow an option that wants a value.
    if [[ " ${options//$'\n'/ } " == *" $before "* ]]; then
        case $before in
        --to)
            kind=none options="" values="srgb srgb-linear display-p3 rec2020 prophoto eci-rgb-v2 adobe-rgb adobe-rgb-g18 adobe-rgb-linear apple-rgb-g18
                apple-rgb-linear colormatch-g18 colormatch-linear kodak-photo kodak-mix kodak-text"
            ;;
        --intent) kind=none options="" values="perceptual relative saturation absolute" ;;
        --source) kind=none options="" values="require-match given embedded" ;;
        --others) kind=none options="" values="refuse copy skip" ;;
        --format) kind=none options="" values="tiff png jpeg" ;;
        --list) kind=none options="" values="none failed left" ;;
        --guideline)
            kind=none options="" values="fadgi-4 fadgi-3 fadgi-2 fadgi-1 metamorfoze-full metamorfoze-light"
            ;;
        --bits) kind=none options="" values="8 16" ;;
        --precision) kind=none options="" values="exact library" ;;
        --icc-version) kind=none options="" values="4 2" ;;
        -o | --output | --profile | --curve | --files-from | --base | --image | --chart) kind=files options="" ;;
        --lightness | --chroma | --hue | -j | --jobs | --max-memory | --quality | --shard | --points | --worst | --limit | --accept-error | --settle) return ;;
        esac
    fi
    # Only options that want a value have none of the others after them.
    [[ $assigned && $options ]] && return

    [[ $word == -* ]] && values=$options
    mapfile -t COMPREPLY < <(compgen -P "$prefix" -W "$values" -- "$word")
    if [[ $kind == files && $word != -* ]]; then
        compopt -o filenames 2>/dev/null
        mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -P "$prefix" -f -- "$word")
    fi
}
complete -F _hueweave hueweave
