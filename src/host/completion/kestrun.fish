# SPDX-License-Identifier: MIT
# Completion of kestrun for fish. The program lists the words; fish adds names of files.
function __kestrun_complete
    set -l words (commandline -opc)
    set -l current (commandline -ct)
    $words[1] complete $words[2..-1] "$current" 2>/dev/null
end
complete -c kestrun -a '(__kestrun_complete)'
