#!/usr/bin/env bash
# usage: check_package.sh BUILD_DIR CONSUMER_SOURCE WORK_DIR [SANITIZERS]
set -euo pipefail
build=$1 consumer=$2 work=$3 sanitize=${4:-}
# Consumers run as a user runs them: the libraries are found through run paths alone.
unset LD_LIBRARY_PATH
# A sanitizer build of the library needs consumers built with the same runtime.
flags=""
[ -n "$sanitize" ] && flags="-fsanitize=$sanitize"
rm -rf "$work"
mkdir -p "$work"
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null

# The SONAMEs are part of the binary interface.
libdir=$(dirname "$(find "$prefix" -name 'libBrxDisplayQt.so' | head -1)")
readelf -d "$libdir/libBrxDisplayQt.so" | grep -q 'SONAME.*\[libBrxDisplayQt\.so\.3\]'
readelf -d "$libdir/libBrxDemosaicing.so" | grep -q 'SONAME.*\[libBrxDemosaicing\.so\.3\]'

# find_package(BrxDisplayQt)
cmake -S "$consumer" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_FLAGS="$flags" >/dev/null
cmake --build "$work/cmake" >/dev/null
"$work/cmake/consumer"

# pkg-config, with the run path to the package that a build outside the system's library
# folders needs
export PKG_CONFIG_PATH=$libdir/pkgconfig
c++ -std=c++17 -fPIC $flags "$consumer/consumer.cpp" -o "$work/consumer-pc" \
    $(pkg-config --cflags --libs brxdisplayqt) \
    -Wl,-rpath,"$(pkg-config --variable=libdir brxdisplayqt)"
"$work/consumer-pc"
# The installed tools, where they were built
for tool in brxconvert brxview; do
    if [ -x "$prefix/bin/$tool" ]; then
        "$prefix/bin/$tool" --help >/dev/null
    fi
done
# The embedding example, built against the package as an application would build it, shows a
# few frames in its widget on Qt's offscreen platform.
examples=$(cd "$(dirname "$0")/../../examples" && pwd)
cmake -S "$examples/embed" -B "$work/embed" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_FLAGS="$flags" >/dev/null
cmake --build "$work/embed" >/dev/null
# (Qt leaves its platform plugin at exit: not ours to report.)
LSAN_OPTIONS=detect_leaks=0 QT_QPA_PLATFORM=offscreen timeout 60 "$work/embed/embed" --frames 10

echo "package check passed"
