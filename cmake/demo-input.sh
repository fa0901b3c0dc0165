#!/bin/sh
# Prints a folder of several hundred MB that every machine with a compiler has: the compiler's own programs.
set -eu
case $(uname -s) in
    Darwin) program=$(xcrun --find clang) ;;
    *) program=$(c++ -print-prog-name=cc1plus) ;;
esac
dirname "$program"
