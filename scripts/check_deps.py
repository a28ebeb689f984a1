#!/usr/bin/env python3
"""Fails when a file under src/ includes a module its library does not declare.

Each folder under src/ is one library, declared in CMakeLists.txt with
skimlet_module(<folder> DEPS ...). A library links everything its dependencies link, so an
include of another module is fine when that module is reachable through the declared list;
anything else builds only because some other library happens to bring it in, and the
dependency list stops describing the architecture.
"""
import os
import re
import sys

root = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), ".."))
cmake = open(os.path.join(root, "CMakeLists.txt"), encoding="utf-8").read()

deps = {}
for folder, args in re.findall(r"skimlet_module\(\s*([\w/]+)([^)]*)\)", cmake):
    listed = args.split("DEPS", 1)[1].split() if "DEPS" in args else []
    deps[folder] = [d[len("skimlet_"):] for d in listed if d.startswith("skimlet_")]
by_target = {folder.replace("/", "_"): folder for folder in deps}
deps = {folder: [by_target.get(d, d) for d in ds] for folder, ds in deps.items()}


def reachable(folder):
    seen, todo = set(), [folder]
    while todo:
        for d in deps.get(todo.pop(), []):
            if d not in seen:
                seen.add(d)
                todo.append(d)
    return seen


def module_of(path):
    # The longest declared folder the path lies in (backends/memory before backends).
    best = None
    for folder in deps:
        if path == folder or path.startswith(folder + "/"):
            if best is None or len(folder) > len(best):
                best = folder
    return best


include = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)
faults = []
src = os.path.join(root, "src")
for dirpath, _, files in os.walk(src):
    for name in sorted(files):
        if not name.endswith((".h", ".cc")):
            continue
        rel = os.path.relpath(os.path.join(dirpath, name), src)
        own = module_of(rel)
        if own is None:
            faults.append(f"src/{rel}: lies in no declared module")
            continue
        allowed = reachable(own) | {own}
        text = open(os.path.join(dirpath, name), encoding="utf-8").read()
        for header in include.findall(text):
            used = module_of(header)
            if used is not None and used not in allowed:
                faults.append(f"src/{rel}: includes {header}, but {own} does not depend on {used}")

for fault in faults:
    print(fault)
sys.exit(1 if faults else 0)
