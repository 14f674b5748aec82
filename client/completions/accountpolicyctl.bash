# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later
#
# bash completion; the tool itself knows its words

# lines "word  -- description" for lines "word<tab>description"
_accountpolicyctl_describe()
{
    local candidate word longest=0
    for candidate in "$@"; do
        word=${candidate%%$'\t'*}
        ((${#word} > longest)) && longest=${#word}
    done
    for candidate in "$@"; do
        if [[ $candidate == *$'\t'* ]]; then
            printf '%-*s  -- %s\n' "$longest" "${candidate%%$'\t'*}" "${candidate#*$'\t'}"
        else
            printf '%s\n' "$candidate"
        fi
    done
}

_accountpolicyctl()
{
    local typed current candidates candidate
    read -ra typed <<<"${COMP_LINE:0:COMP_POINT}"
    [[ ${COMP_LINE:COMP_POINT-1:1} == ' ' ]] && typed+=('')
    current=${typed[-1]}
    mapfile -t candidates < <(accountpolicyctl complete -- "${typed[@]:1}" 2>/dev/null)
    # what bash completes has no descriptions; what it only lists, at the second tab, may have them
    if [[ $COMP_TYPE == 63 && ${#candidates[@]} -gt 1 ]]; then
        mapfile -t COMPREPLY < <(_accountpolicyctl_describe "${candidates[@]}")
        return
    fi
    candidates=("${candidates[@]%%$'\t'*}")
    if [[ ${candidates[0]-} == '<file>' ]]; then
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
    fi
    # readline replaces only what is behind the last of its word breaks
    local kept=
    if [[ $COMP_WORDBREAKS == *=* && $current == *=* ]]; then
        kept=${current%"${current##*=}"}
    fi
    COMPREPLY=()
    for candidate in "${candidates[@]}"; do
        # a name may have blanks, and what a shell obeys
        printf -v candidate %q "${candidate#"$kept"}"
        COMPREPLY+=("$candidate")
    done
    if [[ ${#COMPREPLY[@]} -eq 1 && ${COMPREPLY[0]} == *= ]]; then
        compopt -o nospace
    fi
}
complete -F _accountpolicyctl accountpolicyctl
