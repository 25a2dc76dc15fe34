# Marks the comments of morvik.h for Doxygen: blocks before what they describe, remarks behind it.
# The comment on top belongs to the file; rulers and closing remarks stay as they are.
1s,^/\*$,/** \\file,
/^\/\* -\{20\}/b
# Headings of groups belong to no single constant.
/^\/\* Values of /b
s,^/\*$,/**,
s,^/\* \([A-Z]\),/** \1,
s,\([;,]\) */\* ,\1 /**< ,
s,^\(#define MK_.*\) /\* ,\1 /**< ,
s,^ *[0-9]u  */\* ,&<,
# Lists and tables keep their shape.
s,^ \*   , *       ,
