#!/usr/bin/env bash
# Builds an outside program, in C, in each way that users have: against an installed copy through find_package and
# pkg-config, each with the shared library and with the archive.
#
# usage: installed.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
source=$1 build=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/prefix" >/dev/null

# Nothing installed knows where it was built.
if grep -rlaF "$source" "$scratch/prefix"; then
  echo "the source folder's name stands in the files above"
  exit 1
fi

cp "$source/examples/first_program.c" "$scratch/"
cp "$source/tests/install/outside.cmake" "$scratch/CMakeLists.txt"
cmake -S "$scratch" -B "$scratch/by_cmake" -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
cmake --build "$scratch/by_cmake" >/dev/null
"$scratch/by_cmake/outside_shared" >/dev/null
"$scratch/by_cmake/outside_static" >/dev/null
echo "find_package: built and ran"

libdir=$(dirname "$(find "$scratch/prefix" -name libmoxac.so)")
export PKG_CONFIG_PATH=$libdir/pkgconfig
cc -std=c99 "$scratch/first_program.c" $(pkg-config --cflags --libs moxac) -lm -Wl,-rpath-link,"$libdir" -o "$scratch/shared"
LD_LIBRARY_PATH=$libdir "$scratch/shared" >/dev/null
cc -std=c99 -static "$scratch/first_program.c" $(pkg-config --static --cflags --libs moxac) -o "$scratch/static"
"$scratch/static" >/dev/null
echo "pkg-config: built and ran"

# A reader of one header alone, with nothing but that folder to look in.
for header in "$scratch"/prefix/include/moxac/*.h; do
  cc -std=c99 -fsyntax-only -Wall -Wextra -Wpedantic -Werror -I "$scratch/prefix/include/moxac" -x c "$header"
done

soname=$(objdump -p "$libdir/libmoxac.so" | awk '/SONAME/ {print $2}')
[ "$soname" = libmoxac.so.8 ] || { echo "SONAME is $soname"; exit 1; }
