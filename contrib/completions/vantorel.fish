# SPDX-License-Identifier: GPL-2.0-or-later
# Completion for fish. The command itself knows what may stand where.
function __vantorel_complete
    set -l words (commandline -opc)
    set -l current (commandline -ct)
    set -l option (string match -r -- '^--[^=]*=' $current)
    for line in ($words[1] --complete $words[2..] "$current" 2>/dev/null)
        switch $line
            case :files
                string replace -r -- '^' "$option" (__fish_complete_path (string replace -- "$option" '' $current))
            case :folders
                string replace -r -- '^' "$option" (__fish_complete_directories (string replace -- "$option" '' $current) '')
            case '*'
                echo $line
        end
    end
end
complete -c vantorel -f -a '(__vantorel_complete)'
