# SPDX-License-Identifier: MIT
# Shows the plain C comments of a header to Doxygen. The first block is that of the file; a comment
# behind code describes that code; section lines ("---- ...") and the licence line stay as they are.
1i /** @file */
/SPDX/b
/---- .* ----/b
0,/^\/\*$/s/^\/\*$/\/** @file/
/^ *\/\*\*/b
s/^\( *\)\/\*\( \|$\)/\1\/**\2/
/^#/b
s/^\( *[^ /*].*\)\/\* /\1\/**< /
