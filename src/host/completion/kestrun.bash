# SPDX-License-Identifier: MIT
# Completion of kestrun for bash. The program lists the words; bash completes names of files.
_kestrun() {
    local IFS=$'\n'
    COMPREPLY=($("${COMP_WORDS[0]}" complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null))
}
complete -o default -F _kestrun kestrun
