#!/usr/bin/env python3
"""Prints Google Benchmark's JSON results as tables of ratios: peer time / Morvik's time."""
import json
import sys


def medians(paths):
    """Yields (operation, size, who, microseconds, counters) of each benchmark's median."""
    for path in paths:
        with open(path, encoding="utf-8") as file:
            for row in json.load(file)["benchmarks"]:
                if row.get("aggregate_name") == "median":
                    operation, size, who = row["run_name"].removesuffix("/real_time").split("|")
                    yield operation, size, who, row["real_time"]


def main():
    groups = {}
    for operation, size, who, time in medians(sys.argv[1:]):
        groups.setdefault((operation, size), {})[who] = time
    print("| operation | size | Morvik, us | peer | peer, us | ratio |")
    print("|---|---|---:|---|---:|---:|")
    for (operation, size), times in groups.items():
        own = times.pop("morvik", None)
        if own is None:
            continue
        for who, time in times.items():
            print(f"| {operation} | {size} | {own:.1f} | {who} | {time:.1f} | {time / own:.2f} |")
        if not times:
            print(f"| {operation} | {size} | {own:.1f} | | | |")


if __name__ == "__main__":
    main()
