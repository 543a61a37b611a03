# The first comment of a header is about the file.
1s#^/\*$#/** \\file#
# Titles between rulers belong to no declaration.
/^\/\* -{20,} *\*\/$/d
/^\/\* .*  +\*\/$/d
# A comment on a line of its own is about what follows.
s#^( *)/\*( |$)#\1/**\2#
# One behind a value or a field is about that.
s#(;|,|[0-9a-fA-FuUx)"]) +/\* #\1 /**< #
# What looks like a command is text.
s#@#\\@#g
