#!/usr/bin/env bash
# Builds mox and decodes the bundled streams with it. On a bare Debian 12, as root or with sudo, it first installs
# what is missing. Usage: ./demo.sh [directory for the WAV files; out/ by default]
set -euo pipefail
cd "$(dirname "$0")"
out=${1:-out}

tools/install_packages.sh build

if [ ! -f build/CMakeCache.txt ]; then
  echo "Configuring build/"
  cmake -S . -B build -G Ninja -DMOXAC_TESTS=OFF -DMOXAC_BENCH=OFF -DMOXAC_EXAMPLES=OFF >/dev/null
fi
echo "Building the library and mox (the first time takes a few minutes)"
cmake --build build --target mox >build/demo_build.log || { cat build/demo_build.log; exit 1; }

# Noise substitution has no fixed waveform, so that stream is left to the tests.
streams=$(ls tests/data/streams/*.mp3 tests/data/streams/*.aac tests/data/streams/*.adif | grep -v _pns)
echo "Decoding tests/data/streams/ to $out/, and comparing each with the independent decode beside it"
mkdir -p "$out"
for stream in $streams; do
  name=$(basename "$stream")
  build/mox decode --raw --quiet "$stream" "$out/${name%.*}.wav"
  printf '  %-30s' "$name"
  python3 tools/compare_wav.py "$out/${name%.*}.wav" "${stream%.*}.ref.wav"
done

echo
echo "build/mox info tests/data/streams/mp3_48000_vbr_v3.mp3"
build/mox info tests/data/streams/mp3_48000_vbr_v3.mp3
echo
echo "Done. Try: build/mox decode YOUR.mp3, build/mox spectrum YOUR.mp3, build/mox --help; ./test.sh runs the tests."
