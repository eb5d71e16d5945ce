#!/usr/bin/env python3
"""Prints a Google Benchmark JSON result as ours-beside-peers with ratios.

Benchmarks are named OPERATION/IMPLEMENTATION[/args...], with an optional
label saying what the arguments select; the implementation
"twcommon" is ours, every other is a peer measured in the same run. The ratio
is our time over the peer's (below 1.0: we are faster).
"""
import json
import sys

OURS = "twcommon"


def main(path):
    data = json.load(open(path))
    groups = {}
    for b in data["benchmarks"]:
        if b.get("run_type") == "aggregate":
            continue
        parts = b["name"].split("/")
        if len(parts) < 2:
            continue
        key = "/".join([parts[0]] + parts[2:])
        if b.get("label"):
            key += f" ({b['label']})"
        groups.setdefault(key, {})[parts[1]] = b["cpu_time"], b["time_unit"]
    width = max((len(k) for k in groups), default=10)
    print(f"{'operation':<{width}}  {'implementation':<16} {'time':>14}  ours/peer")
    for key, impls in groups.items():
        ours = impls.get(OURS)
        for impl, (t, unit) in impls.items():
            ratio = ""
            if ours and impl != OURS and t > 0:
                ratio = f"{ours[0] / t:9.2f}x"
            print(f"{key:<{width}}  {impl:<16} {t:>11.1f} {unit:<2}  {ratio}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
