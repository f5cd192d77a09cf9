#!/usr/bin/env bash
# The library as part of an outside project, in another folder: nothing is forced on the parent, and the archives come
# out with the same bytes as those of BUILD_DIR.
#
# usage: subproject.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
source=$1 build=$2
scratch=$build/subproject
rm -rf "$scratch"
mkdir "$scratch"
fail() { echo "$1"; exit 1; }

tar -C "$source" --exclude='./build*' --exclude=./.git --exclude=./tests/data --exclude=./fuzz/corpus -cf - . |
  tar -C "$scratch" --one-top-level=moxac -xf -
cp "$source/examples/first_program.c" "$scratch/"
cp "$source/tests/install/outside.cmake" "$scratch/CMakeLists.txt"
cached() { sed -n "s/^$1:[A-Z]*=//p" "$2/CMakeCache.txt"; }

# A parent that says nothing keeps an empty build type, and gets no tests, packages or install rules.
parent=(cmake -S "$scratch" -B "$scratch/parent" -G Ninja -DMOXAC_FOLDER="$scratch/moxac"
        -DCMAKE_CXX_COMPILER="$(cached CMAKE_CXX_COMPILER "$build")")
"${parent[@]}" >/dev/null
[ -z "$(cached CMAKE_BUILD_TYPE "$scratch/parent")" ] || fail "a build type is forced on the parent"
[ ! -e "$scratch/parent/CPackConfig.cmake" ] || fail "packages are forced on the parent"
cmake --install "$scratch/parent" --prefix "$scratch/prefix" >/dev/null
[ ! -e "$scratch/prefix" ] || fail "install rules are forced on the parent"

# The parent's build type and output folders hold for the library too.
"${parent[@]}" -DCMAKE_BUILD_TYPE="$(cached CMAKE_BUILD_TYPE "$build")" -DCMAKE_LIBRARY_OUTPUT_DIRECTORY="$scratch/out" \
  -DCMAKE_ARCHIVE_OUTPUT_DIRECTORY="$scratch/out" >/dev/null
cmake --build "$scratch/parent" >"$scratch/log" || { tail -n 20 "$scratch/log"; fail "the outside project does not build"; }
"$scratch/parent/outside_shared" >/dev/null
"$scratch/parent/outside_static" >/dev/null
[ -e "$scratch/out/libmoxac.so" ] || fail "the parent's output folder does not hold"
for library in libmoxac.a libmoxcore.a; do
  cmp "$scratch/out/$library" "$build/$library"
done

# By itself and without tests it does not ask for GoogleTest.
cmake -S "$scratch/moxac" -B "$scratch/alone" -G Ninja -DMOXAC_TESTS=OFF \
  -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON >/dev/null
