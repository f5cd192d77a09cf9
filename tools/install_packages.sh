#!/usr/bin/env bash
# Installs the Debian packages that a purpose needs, those already there excepted.
#
# usage: tools/install_packages.sh build|test|bench
#   build  the libraries, the mox program and the examples
#   test   build, and what ./test.sh needs beyond it
#   bench  build, and the benchmark library with the peers it measures beside
set -euo pipefail

build=(ca-certificates cmake ninja-build g++ pkg-config python3 libsndfile1-dev libcli11-dev libpng-dev)
tests=(binutils libgtest-dev libgmock-dev clang-14 libclang-rt-14-dev clang-tidy-14 clang-format-14 doxygen
       python3-cffi python3-numpy python3-scipy python3-matplotlib python3-pytest python3-build python3-setuptools python3-wheel)
peers=(libbenchmark-dev libgtest-dev libfftw3-dev libmpg123-dev libmad0-dev libavcodec-dev libavutil-dev libfaad-dev
       libmp3lame-dev python3-matplotlib)

case "${1:-}" in
  build) wanted=("${build[@]}") ;;
  test) wanted=("${build[@]}" "${tests[@]}") ;;
  bench) wanted=("${build[@]}" "${peers[@]}") ;;
  *) echo "usage: $0 build|test|bench" >&2; exit 2 ;;
esac

missing=()
for package in "${wanted[@]}"; do
  state=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$state" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "Packages are missing and neither root nor sudo is at hand: ${missing[*]}" >&2; exit 1; }
  as_root=(sudo)
fi
echo "Installing ${#missing[@]} packages: ${missing[*]}"
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
