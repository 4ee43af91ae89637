#!/bin/bash
# Unpacks the pinned sources from build/downloads and cross-compiles them into build/deps.
set -euo pipefail
cd "$(dirname "$0")/../.."
source tools/setup/common.sh

sources=$build_dir/src
result=$build_dir/libraries/result
rm -rf "$sources" "$build_dir/libraries"
mkdir -p "$sources" "$result/include"

tools/setup/check_sources.sh
while read -r name version _; do
  archive=$build_dir/downloads/${name}_${version%-*}.orig.tar
  case $name in
    boost*)
      # Debian's patches touch nothing in there, and the whole tree would be 600 MB.
      tar -xJf "$archive.xz" -C "$sources" --wildcards '*/libs/thread/src/*'
      mv "$sources"/boost* "$sources/boost-unpacked"
      mv "$sources/boost-unpacked" "$sources/boost"
      ;;
    unzip)
      # What dpkg-source does, which asks for the .dsc.
      mkdir "$sources/unzip"
      tar -xzf "$archive.gz" -C "$sources/unzip" --strip-components=1
      tar -xJf "$build_dir/downloads/${name}_$version.debian.tar.xz" -C "$sources/unzip"
      while read -r patch; do
        patch -d "$sources/unzip" -p1 --fuzz=0 < "$sources/unzip/debian/patches/$patch"
      done < <(sed -E 's/[[:space:]]*#.*//; /^$/d' "$sources/unzip/debian/patches/series")
      ;;
    *) dpkg-source -x "$build_dir/downloads/${name}_${version}.dsc" "$sources/$name" ;;
  esac
done < <(locked source)
cmake "-DTINYXML_SOURCE=$sources/tinyxml" \
  -P cmake/vcpkg-ports/tinyxml/limit_tinyxml_depth.cmake

# Debian's patch has TinyXML offer the C++ library's streams, which would come into FolivoPlugin.dll
# with all locales; without it, it keeps its texts in a class of its own, as its makers ship it.
patch --reverse --strip 1 --directory "$sources/tinyxml" \
  < "$sources/tinyxml/debian/patches/enforce-use-stl.patch"

# The one folder of headers that may be shared with Windows: /usr/include itself must never be on
# the include path of the cross-compiler.
ln -s /usr/include/boost "$result/include/boost"

cmake -G Ninja -S cmake/libraries -B "$build_dir/libraries" \
  --toolchain "$root/cmake/toolchain-mingw64.cmake" \
  -DCMAKE_BUILD_TYPE=Release "-DCMAKE_INSTALL_PREFIX=$result" \
  "-DBOOST_SOURCE=$sources/boost" "-DTINYXML_SOURCE=$sources/tinyxml" \
  "-DUNZIP_SOURCE=$sources/unzip"
cmake --build "$build_dir/libraries" --target install

# Only now, in one go: the libraries that are in use stay usable until there are new ones.
rm -rf "$build_dir/deps"
mv "$result" "$build_dir/deps"
