# What Doxygen reads of a public header: the same lines, with two of its commands in them.
1s|^/// |/// @file\n/// |
s|^///( [A-Z][a-z]+( [a-z]+)?)  +|/// @par\1\n/// |
s#^/// (Bad input|Direction) #/// @par \1\n/// #
s|^/// {6,}|/// |
