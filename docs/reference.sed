# What Doxygen reads of a public header: the same lines, with two of its commands in them.
1s|^/// |/// @file\n/// |
s|^( *///) ([A-Z][a-z]+( [a-z]+)?)  +|\1 @par \2\n\1 |
s|^( *///) {6,}|\1 |
