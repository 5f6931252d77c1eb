# SPDX-License-Identifier: GPL-2.0-or-later
# Completion for bash, with the functions of bash-completion. The command itself knows what may stand where.
_vantorel() {
    local cur prev words cword word meaning
    _init_completion -n : || return
    local -a told=("${words[@]:1:cword}")
    told=("${told[@]//[\"\'\\]/}") # they come as typed, quotes and all
    while IFS=$'\t' read -r word meaning; do
        case $word in
            :files) _filedir ;;
            :folders) _filedir -d ;;
            *) COMPREPLY+=("$word") ;;
        esac
    done < <("$1" --complete "${told[@]}" 2>/dev/null)
    __ltrim_colon_completions "$cur"
} && complete -F _vantorel vantorel
