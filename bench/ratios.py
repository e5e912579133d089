#!/usr/bin/env python3
"""Prints each KmRx benchmark as a ratio to its peers.

Reads the JSON that kmrx_bench writes with --benchmark_out. Benchmarks are
named "<group>/<case>/<implementation>"; implementations starting with "KmRx"
are ours, the others in the same group/case are their peers. With repetitions
the median is used. Times are CPU time per iteration, in ns. A ratio above 1
means ours is slower.

Usage: ratios.py results.json [--markdown]
  --markdown  the ratio table and a table of every row (median, fastest and
              slowest repetition) in Markdown
"""
import json
import re
import sys
from collections import OrderedDict

UNIT_NS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}

# Rows of ours compared with each other: the same operation at two sizes.
GROWTH = [
    ("register/1000_classes_at_10k/KmRx_newYcRxClass", "register/1000_classes/KmRx_newYcRxClass"),
    ("register/1000_classes_at_100k/KmRx_newYcRxClass", "register/1000_classes/KmRx_newYcRxClass"),
    ("addXdelX/tree_10000/KmRx", "addXdelX/tree_1000/KmRx"),
    ("module/load_unload_10k_classes/KmRx_ycrxLoadModule_unload",
     "module/load_unload/KmRx_ycrxLoadModule_unload"),
    ("module/load_unload_100k_classes/KmRx_ycrxLoadModule_unload",
     "module/load_unload/KmRx_ycrxLoadModule_unload"),
]


def load(path):
    with open(path) as f:
        data = json.load(f)
    medians, singles, errors = {}, {}, {}
    for b in data["benchmarks"]:
        # A fixed iteration count is part of the name; the pairing ignores it.
        name = re.sub(r"/iterations:\d+$", "", b.get("run_name", b["name"]))
        if b.get("error_occurred"):
            errors[name] = b.get("error_message", "error")
            continue
        ns = b["cpu_time"] * UNIT_NS[b.get("time_unit", "ns")]
        if b.get("run_type") == "aggregate":
            if b.get("aggregate_name") == "median":
                medians[name] = ns
        else:
            singles.setdefault(name, []).append(ns)
    times, spread = OrderedDict(), {}
    for name, values in singles.items():
        values.sort()
        times[name] = medians.get(name, values[len(values) // 2])
        spread[name] = (values[0], values[-1], len(values))
    for name, ns in medians.items():
        times.setdefault(name, ns)
    return times, spread, errors


def fmt(ns):
    if ns >= 1e6:
        return f"{ns / 1e6:.2f} ms"
    if ns >= 1e3:
        return f"{ns / 1e3:.2f} us"
    return f"{ns:.2f} ns"


def pairs(times):
    groups = OrderedDict()
    for name in times:
        prefix, _, impl = name.rpartition("/")
        groups.setdefault(prefix, []).append((impl, name))
    for prefix, members in groups.items():
        ours = [n for impl, n in members if impl.startswith("KmRx")]
        peers = [n for impl, n in members if not impl.startswith("KmRx")]
        for o in ours:
            for p in peers:
                yield o, p
    for o, p in GROWTH:
        if o in times and p in times:
            yield o, p


def main(argv):
    if len(argv) < 2:
        print(__doc__, file=sys.stderr)
        return 2
    times, spread, errors = load(argv[1])
    markdown = "--markdown" in argv[2:]
    rows = [(o, times[o], p, times[p], times[o] / times[p]) for o, p in pairs(times)]
    if markdown:
        print("| benchmark (ours) | median | peer | median | ratio |")
        print("|---|---:|---|---:|---:|")
        for o, to, p, tp, r in rows:
            print(f"| `{o}` | {fmt(to)} | `{p.rpartition('/')[2] if p.rpartition('/')[0] == o.rpartition('/')[0] else p}` "
                  f"| {fmt(tp)} | {r:.2f} |")
        print()
        print("| benchmark | median | fastest | slowest | runs |")
        print("|---|---:|---:|---:|---:|")
        for name, ns in times.items():
            lo, hi, n = spread.get(name, (ns, ns, 1))
            print(f"| `{name}` | {fmt(ns)} | {fmt(lo)} | {fmt(hi)} | {n} |")
    else:
        width = max((len(o) for o, *_ in rows), default=0)
        for o, to, p, tp, r in rows:
            peer = p.rpartition("/")[2] if p.rpartition("/")[0] == o.rpartition("/")[0] else p
            print(f"{o:<{width}}: {to:12.1f} ns vs {peer} {tp:.1f} ns = {r:.2f}")
    for name, message in errors.items():
        print(f"{name}: ERROR {message}")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
