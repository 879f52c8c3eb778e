# Exported names as the tables of operations spell them: without namespaces, allocators and the
# blanks that closing brackets get.
s/std::__cxx11:://g
s/std:://g
:again
s/, allocator<([^<>]|<[^<>]*>)*>//
t again
s/ >/>/g
