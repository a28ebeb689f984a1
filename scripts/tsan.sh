#!/usr/bin/env bash
# Builds the suites that run threads with ThreadSanitizer into build-tsan/ (or
# $SKIMLET_TSAN_DIR) and runs them: the thread pool and the model runtime, the palette, and the
# live backends (which skip without a Chromium). A data race fails the run.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${SKIMLET_TSAN_DIR:-$root/build-tsan}
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSKIMLET_SANITIZE=thread \
  -DSKIMLET_BENCH=OFF >/dev/null
cmake --build "$build" -j "${SKIMLET_JOBS:-$(nproc)}" --target llm_tests palette_tests chromium_tests
# halt_on_error: the first race fails its test, with both stacks in the output.
export TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 ${TSAN_OPTIONS:-}"
# A crawl stops at its deadline, and under the sanitizer a long page takes longer than that to
# read: the test that counts a whole long page's elements cannot pass here, and runs no threads
# of its own.
ctest --test-dir "$build" --output-on-failure -j "${SKIMLET_JOBS:-$(nproc)}" \
  -R '^(ThreadPool|LocalModelRuntime|Palette|Suggestions|Live[A-Za-z]+)\.' \
  -E '^LivePageTree\.ReadersGoPastTheFirstPartOfALongPage$'
