#!/bin/sh
# Prints the folders of the compiler's own programs and libraries, a line each: several hundred MB that every machine
# with a compiler has.
set -eu
case $(uname -s) in
    Darwin)
        programs=$(dirname "$(xcrun --find clang)")
        printf '%s\n' "$programs" "$programs/../lib"
        ;;
    *)
        dirname "$(c++ -print-prog-name=cc1plus)"
        dirname "$(readlink -f "$(c++ -print-file-name=libstdc++.so)")"
        ;;
esac
