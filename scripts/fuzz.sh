#!/usr/bin/env bash
# Builds the fuzz targets with libFuzzer and the address and undefined-behaviour sanitizers into
# build-fuzz/ ($SKIMLET_FUZZ_BUILD_DIR) and runs each for a bounded time.
#   scripts/fuzz.sh [SECONDS] [TARGET...]     SECONDS per target (default 60);
#                                             targets: gguf recording command (default all)
# Inputs that crash, leak, hang or allocate too much are saved under build-fuzz/findings/ and
# end the run with status 1. New interesting inputs accumulate in build-fuzz/corpus/ between runs.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${SKIMLET_FUZZ_BUILD_DIR:-$root/build-fuzz}
seconds=${1:-60}
shift || true
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(gguf recording command)

if ! command -v clang++ >/dev/null; then
  echo "fuzz.sh: clang++ is needed (Debian's clang package)" >&2
  exit 1
fi
CC=clang CXX=clang++ cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DSKIMLET_FUZZ=ON \
  -DSKIMLET_SANITIZE=ON -DSKIMLET_TESTS=OFF -DSKIMLET_BENCH=OFF >/dev/null
cmake --build "$build" -j "${SKIMLET_JOBS:-$(nproc)}" --target "${targets[@]/%/_fuzz}"

# Starting inputs: small valid models, the recorded pages, and the commands of the evaluation set.
seeds() {
  case "$1" in
    gguf) echo "$root/fuzz/seeds/gguf" ;;
    recording) echo "$root/tests/pages" ;;
    command)
      local dir="$build/seeds/command"
      mkdir -p "$dir"
      grep -v '^#' "$root/tests/eval/intents.tsv" | cut -f1 | split -l 1 - "$dir/line-"
      echo "$dir" ;;
  esac
}
# Room for a small model; a page or a command needs far less.
maxLength() { case "$1" in gguf) echo 65536 ;; recording) echo 16384 ;; *) echo 512 ;; esac; }

status=0
for t in "${targets[@]}"; do
  corpus="$build/corpus/$t" findings="$build/findings/$t"
  mkdir -p "$corpus" "$findings"
  echo "== $t: ${seconds}s"
  # A bounded allocation and time per input turn runaway memory and hangs into findings.
  if ! ASAN_OPTIONS=detect_leaks=1 "$build/fuzz/${t}_fuzz" -max_total_time="$seconds" -timeout=10 \
      -rss_limit_mb=2048 -malloc_limit_mb=512 -max_len="$(maxLength "$t")" -print_final_stats=1 \
      -artifact_prefix="$findings/" "$corpus" "$(seeds "$t")" 2>"$build/$t.log"; then
    status=1
    echo "fuzz.sh: $t found a problem; the input is in $findings, the report in $build/$t.log" >&2
    grep -A12 -m1 "ERROR\|runtime error\|SUMMARY" "$build/$t.log" >&2 || tail -20 "$build/$t.log" >&2
  fi
  grep -E "stat::number_of_executed_units|cov:" "$build/$t.log" | tail -2 || true
done
exit $status
