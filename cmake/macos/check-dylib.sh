#!/bin/sh
# Looks whether a shared library is what a Mac loads: check-dylib.sh LIBRARY. Its kind, the name that programs ask for,
# the oldest macOS that it runs on, and the libraries that it needs, in any order.
set -eu

library=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

cat > "$folder/expected" <<'END'
DYLIB X86_64
id @rpath/libkxmmf.0.dylib
minos 11.0
needs /System/Library/Frameworks/CoreFoundation.framework/Versions/A/CoreFoundation
needs /System/Library/Frameworks/CoreServices.framework/Versions/A/CoreServices
needs /System/Library/Frameworks/Foundation.framework/Versions/C/Foundation
needs /System/Library/Frameworks/SystemConfiguration.framework/Versions/A/SystemConfiguration
needs /usr/lib/libSystem.B.dylib
needs /usr/lib/libc++.1.dylib
needs /usr/lib/libobjc.A.dylib
platform macos
END

llvm-objdump --macho --private-headers "$library" > "$folder/headers"
awk '
    $1 == "MH_MAGIC_64" { print $5, $2 }
    $1 == "cmd" { command = $2 }
    command == "LC_BUILD_VERSION" && ($1 == "platform" || $1 == "minos") { print $1, $2 }
    command == "LC_ID_DYLIB" && $1 == "name" { print "id", $2 }
    command ~ /^LC_(LOAD|REEXPORT|LAZY_LOAD|LOAD_WEAK|LOAD_UPWARD)_DYLIB$/ && $1 == "name" { print "needs", $2 }
' "$folder/headers" | LC_ALL=C sort > "$folder/found"

diff -u "$folder/expected" "$folder/found" || { echo "$library is not as expected" >&2; exit 1; }
echo "$(basename "$library"): a library for macOS 11.0 and newer on x86-64 that needs nothing but the system's"
