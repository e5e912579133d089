#!/usr/bin/env bash
# Builds the libFuzzer targets with clang in a build directory of their own and
# runs each for a while, then prints what each reached: libFuzzer's edge and
# feature counts, and per source file of ours the functions it entered.
# Fails on any crash, leak, time-out or sanitizer report.
# Usage: fuzz/run.sh [seconds-per-target]   (default 60)
# Seeds come from fuzz/corpus/<target>; what the run learns stays in
# build/fuzz/corpus/<target>, and a failing input in build/fuzz/artifacts/<target>.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds="${1:-60}"
build="$PWD/build/fuzz"  # absolute: a target may change its working directory
targets=(store_file list_reader config_registry registry_store listed_modules)

command -v clang++ >/dev/null || { echo "fuzz/run.sh: clang++ is needed" >&2; exit 2; }

# Warnings do not stop a fuzz run; the regular builds are the place for them.
cmake -S . -B "$build" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DKMRX_BUILD_FUZZ=ON -DKMRX_BUILD_TESTS=OFF -DKMRX_BUILD_HOST=OFF -DKMRX_BUILD_EXAMPLES=OFF \
      -DKMRX_WERROR=OFF >/dev/null
cmake --build "$build" -j"$(nproc)" --target "${targets[@]/#/fuzz_}"

export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
summary=()
for target in "${targets[@]}"; do
  corpus="$build/corpus/$target"
  artifacts="$build/artifacts/$target"
  log="$build/fuzz_$target.log"
  mkdir -p "$corpus" "$artifacts"
  echo "fuzz/run.sh: fuzz_$target for ${seconds}s"
  if ! "$build/bin/fuzz_$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
      -max_len=16384 -print_final_stats=1 -artifact_prefix="$artifacts/" \
      "$corpus" "$PWD/fuzz/corpus/$target" >"$log" 2>&1; then
    tail -n 60 "$log"
    echo "fuzz/run.sh: fuzz_$target failed; the input is in $artifacts" >&2
    exit 1
  fi
  summary+=("fuzz_$target: $(grep -o 'cov: [0-9]* ft: [0-9]*' "$log" | tail -n 1)")
  # Functions of our own sources the final corpus enters, file by file.
  echo "fuzz/run.sh: fuzz_$target reaches, per file (functions entered / present):"
  "$build/bin/fuzz_$target" -runs=0 -print_coverage=1 "$corpus" 2>&1 |
    awk -v root="$PWD/" '
      /^(UN)?COVERED_FUNC:/ {
        file = $NF; sub(/:[0-9]+$/, "", file)
        if (index(file, root) != 1 || file ~ /\/fuzz\//) next
        file = substr(file, length(root) + 1)
        total[file]++; if ($1 == "COVERED_FUNC:") hit[file]++
      }
      END { for (f in total) if (hit[f] > 0) printf "  %-45s %4d / %d\n", f, hit[f], total[f] }' | sort
done
echo
printf '%s\n' "${summary[@]}"
echo "fuzz/run.sh: all targets ran clean"
