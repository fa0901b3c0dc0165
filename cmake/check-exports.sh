#!/bin/sh
# Compares the names that a shared library exports with a list of them: check-exports.sh [--update] LIBRARY LIST
# Reads ELF and Mach-O. The names are demangled and spelled alike for both, whatever the C++ library, so that one list
# serves every system. Prints the difference and fails where there is one. --update writes the list instead.
set -eu

update=
[ "$1" != --update ] || { update=1; shift; }
library=$1
list=$2

mangled_names() {
    if [ "$(head -c 4 "$library" | tail -c 3)" = ELF ]; then
        nm --dynamic --defined-only --format=posix "$library" | cut -d ' ' -f 1
    else
        # Every name has an underscore more than C++ gives it.
        "$(command -v llvm-objdump || echo objdump)" --macho --exports-trie "$library" | sed -n 's/^0x[^ ]* *_\([^ ]*\).*/\1/p'
    fi
}

# Constructors and destructors have several symbols of one name.
plain_names() {
    c++filt -n | sed \
        -e 's/std::__cxx11::/std::/g' -e 's/std::__1::/std::/g' -e 's/> >/>>/g' -e 's/> >/>>/g' \
        -e 's/std::basic_string<\(w*\)char[_t]*, std::char_traits<[a-z_]*>, std::allocator<[a-z_]*>>/std::\1string/g' |
        LC_ALL=C sort -u
}

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mangled_names > "$folder/mangled"
[ -s "$folder/mangled" ] || { echo "$library exports nothing" >&2; exit 1; }

# Instances of the standard library's templates would take part in the linking of every program.
if grep -E '^_Z(T[A-Z]|GV|Z|N|K)*(S[tabsiod]|9__gnu_cxx)' "$folder/mangled" > "$folder/foreign"; then
    c++filt -n < "$folder/foreign" >&2
    echo "$library exports what is not ours" >&2
    exit 1
fi

plain_names < "$folder/mangled" > "$folder/names"
[ -z "$update" ] || { cp "$folder/names" "$list"; exit 0; }
diff -u "$list" "$folder/names" || { echo "$library: not the names of $list; make exports writes it anew" >&2; exit 1; }
echo "$(basename "$library"): exports the $(grep -c . "$list") names of $(basename "$list")"
