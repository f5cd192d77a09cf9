#!/usr/bin/env bash
# Installs the built tree into a scratch prefix and builds an outside program against it twice: through
# find_package and through pkg-config.
#
# usage: check.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
source=$1 build=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
mkdir "$scratch/outside"
cp "$source/tests/support/header_c99.c" "$scratch/outside/main.c"
cat > "$scratch/outside/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(outside C)
find_package(moxac 8 REQUIRED)
add_executable(outside main.c)
target_link_libraries(outside PRIVATE moxac::moxac)
CMAKE
cmake -S "$scratch/outside" -B "$scratch/outside/build" -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
cmake --build "$scratch/outside/build" >/dev/null
"$scratch/outside/build/outside"
echo "find_package: built and ran"

libdir=$(dirname "$(find "$scratch/prefix" -name moxac.pc)")/..
export PKG_CONFIG_PATH=$libdir/pkgconfig
read -ra flags <<< "$(pkg-config --cflags --libs moxac)"
cc -std=c99 -Wall -Wextra -Werror "$scratch/outside/main.c" "${flags[@]}" -Wl,-rpath-link,"$libdir" -o "$scratch/by_pkg_config"
LD_LIBRARY_PATH=$libdir "$scratch/by_pkg_config"
echo "pkg-config: built and ran"

soname=$(objdump -p "$libdir/libmoxac.so" | awk '/SONAME/ {print $2}')
[ "$soname" = libmoxac.so.8 ] || { echo "SONAME is $soname"; exit 1; }
needed=$(objdump -p "$libdir/libmoxac.so" | awk '/NEEDED/ {print $2}' | grep -vE '^(libmoxcore|libstdc\+\+|libm|libgcc_s|libc)\.so|^ld-linux' || true)
[ -z "$needed" ] || { echo "libmoxac.so needs more than libmoxcore and the language's library: $needed"; exit 1; }
