#!/usr/bin/env python3
"""Prints Google Benchmark's JSON results as tables of ratios: peer time / Morvik's time."""
import json
import sys


def medians(paths):
    """Yields (operation, size, who, us, peak bytes) of the medians, in order of registration."""
    for path in paths:
        with open(path, encoding="utf-8") as file:
            rows = json.load(file)["benchmarks"]
            for row in sorted(rows, key=lambda row: row["family_index"]):
                if row.get("aggregate_name") == "median":
                    operation, size, who = row["run_name"].removesuffix("/real_time").split("|")
                    yield operation, size, who, row["real_time"], row.get("peak_bytes", 0)


def main():
    groups = {}
    for operation, size, who, time, peak in medians(sys.argv[1:]):
        groups.setdefault((operation, size), {})[who] = time, peak
    print("| operation | size | Morvik, us | peak, KB | peer | peer, us | peak, KB | ratio |")
    print("|---|---|---:|---:|---|---:|---:|---:|")
    for (operation, size), results in groups.items():
        if "morvik" not in results:
            continue
        time, peak = results.pop("morvik")
        for who, (peer_time, peer_peak) in results.items():
            print(f"| {operation} | {size} | {time:.1f} | {peak / 1024:.0f} | {who} "
                  f"| {peer_time:.1f} | {peer_peak / 1024:.0f} | {peer_time / time:.2f} |")
        if not results:
            print(f"| {operation} | {size} | {time:.1f} | {peak / 1024:.0f} | | | | |")


if __name__ == "__main__":
    main()
