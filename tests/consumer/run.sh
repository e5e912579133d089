#!/usr/bin/env bash
# Installs the build tree into a scratch prefix, then builds and runs the
# consumer project against that prefix alone (CMake package and pkg-config).
# The example modules build the same way, as a module author's project would.
# Usage: run.sh <build-dir> <source-dir-of-consumer> [<examples-dir>]
set -euo pipefail
build=$1
here=$2
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null
cmake -S "$here" -B "$prefix/consumer-build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$prefix/consumer-build" >/dev/null
LD_LIBRARY_PATH= "$prefix/consumer-build/consumer"
# The pkg-config file gives a working compile and link line too.
PKG_CONFIG_PATH="$prefix/lib/pkgconfig:$prefix/lib/x86_64-linux-gnu/pkgconfig" \
  c++ "$here/main.cpp" $(PKG_CONFIG_PATH="$prefix/lib/pkgconfig:$prefix/lib/x86_64-linux-gnu/pkgconfig" pkg-config --cflags --libs kmrx) \
  -o "$prefix/consumer-pc"
"$prefix/consumer-pc"
if [ -n "${3:-}" ]; then
  cmake -S "$3" -B "$prefix/examples-build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
  cmake --build "$prefix/examples-build" >/dev/null
  test -f "$prefix/examples-build/shapes.yrx"
fi
