#!/usr/bin/env python3
"""Compares the library's export table with src/twcommon.def.

Windows (--dll): every .def name is exported and nothing else; each alias
(NAME = TARGET) is the same entry point as its target; the DLL imports no
non-system DLL (the compiler runtime must be linked in).
Linux (--so): nothing is exported that the .def does not list (the NT-only
facilities are absent there), and aliases share their target's address.
"""
import argparse
import re
import subprocess
import sys


def read_def(path):
    names, aliases = [], {}
    in_exports = False
    for raw in open(path, encoding="utf-8"):
        line = raw.split(";", 1)[0].strip()
        if not line:
            continue
        if line.upper() == "EXPORTS":
            in_exports = True
            continue
        if not in_exports:
            continue
        m = re.match(r"^(\S+)(?:\s*=\s*(\S+))?(?:\s+DATA)?$", line)
        if not m:
            sys.exit(f"{path}: cannot read export line: {raw.rstrip()}")
        names.append(m.group(1))
        if m.group(2):
            aliases[m.group(1)] = m.group(2)
    return names, aliases


def dll_exports(dll, objdump):
    out = subprocess.run([objdump, "-p", dll], check=True, capture_output=True, text=True).stdout
    addresses, named, imports = {}, {}, []
    section = None
    for line in out.splitlines():
        if line.startswith("Export Address Table"):
            section = "eat"
        elif line.startswith("[Ordinal/Name Pointer] Table"):
            section = "names"
        elif not line.strip():
            section = None if section == "names" else section
        m = re.match(r"^\s*DLL Name:\s*(\S+)", line)
        if m:
            imports.append(m.group(1))
        if section == "eat":
            m = re.match(r"^\s*\[\s*(\d+)\]\s+\+base\[\s*(\d+)\]\s+([0-9a-fA-F]+)", line)
            if m:
                addresses[int(m.group(1))] = m.group(3)
        elif section == "names":
            m = re.match(r"^\s*\[\s*(\d+)\]\s+(?:\+base\[\s*\d+\]\s+)?([0-9a-fA-F]{4}\s+)?(\S+)$", line)
            if m:
                named[m.group(3)] = int(m.group(1))
    where = {name: addresses.get(ordinal) for name, ordinal in named.items()}
    return where, imports


# Symbols a sanitizer's instrumentation adds to a shared object.
INSTRUMENTATION = ("__odr_asan", "__asan", "__ubsan", "__sanitizer", "__sancov")


def so_exports(so):
    out = subprocess.run(["nm", "-D", "--defined-only", so], check=True, capture_output=True, text=True).stdout
    where = {}
    for line in out.splitlines():
        parts = line.split()
        if len(parts) == 3 and parts[1] in "TDRBVWtdrb" and parts[2] not in ("_init", "_fini") \
                and not parts[2].startswith(INSTRUMENTATION):
            where[parts[2]] = parts[0]
    return where


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--def", dest="deffile", required=True)
    ap.add_argument("--dll")
    ap.add_argument("--objdump", default="objdump")
    ap.add_argument("--so")
    args = ap.parse_args()

    names, aliases = read_def(args.deffile)
    problems = []
    dups = sorted({n for n in names if names.count(n) > 1})
    if dups:
        problems.append("listed twice in the .def: " + ", ".join(dups))

    if args.dll:
        where, imports = dll_exports(args.dll, args.objdump)
        missing = sorted(set(names) - set(where))
        extra = sorted(set(where) - set(names))
        if missing:
            problems.append("in the .def but not exported: " + ", ".join(missing))
        if extra:
            problems.append("exported but not in the .def: " + ", ".join(extra))
        foreign = [d for d in imports if d.lower().startswith("lib")]
        if foreign:
            problems.append("imports non-system DLLs: " + ", ".join(foreign))
    else:
        where = so_exports(args.so)
        extra = sorted(set(where) - set(names))
        if extra:
            problems.append("exported but not in the .def: " + ", ".join(extra))

    for alias, target in aliases.items():
        if alias in where and target in where and where[alias] != where[target]:
            problems.append(f"{alias} is not the same entry point as {target}")

    if problems:
        print("\n".join(problems))
        return 1
    print(f"{len(where)} exports match the .def ({len(names)} names listed)")
    return 0


if __name__ == "__main__":
    sys.exit(main())
