#!/usr/bin/env bash
# Builds the libFuzzer targets with clang in a build directory of their own and
# runs each for a while. Fails on any crash, leak, time-out or sanitizer report.
# Usage: fuzz/run.sh [seconds-per-target]   (default 60)
# Seeds come from fuzz/corpus/<target>; what the run learns stays in
# build/fuzz/corpus/<target>, and a failing input in build/fuzz/artifacts/<target>.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds="${1:-60}"
build="$PWD/build/fuzz"  # absolute: a target may change its working directory
targets=(store_file list_reader)

command -v clang++ >/dev/null || { echo "fuzz/run.sh: clang++ is needed" >&2; exit 2; }

# Warnings do not stop a fuzz run; the regular builds are the place for them.
cmake -S . -B "$build" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DKMRX_BUILD_FUZZ=ON -DKMRX_BUILD_TESTS=OFF -DKMRX_BUILD_HOST=OFF -DKMRX_WERROR=OFF >/dev/null
cmake --build "$build" -j"$(nproc)" --target "${targets[@]/#/fuzz_}"

export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
for target in "${targets[@]}"; do
  corpus="$build/corpus/$target"
  artifacts="$build/artifacts/$target"
  mkdir -p "$corpus" "$artifacts"
  echo "fuzz/run.sh: fuzz_$target for ${seconds}s"
  "$build/bin/fuzz_$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
      -max_len=16384 -print_final_stats=1 -artifact_prefix="$artifacts/" \
      "$corpus" "$PWD/fuzz/corpus/$target"
done
echo "fuzz/run.sh: all targets ran clean"
