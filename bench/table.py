#!/usr/bin/env python3
"""Prints Google Benchmark's JSON results as tables of ratios: peer time / Morvik's time."""
import argparse
import json
import re


def medians(paths):
    """Yields (operation, size, who, us, peak bytes) of the medians, in order of registration."""
    for path in paths:
        with open(path, encoding="utf-8") as file:
            rows = json.load(file)["benchmarks"]
            for row in sorted(rows, key=lambda row: row["family_index"]):
                if row.get("aggregate_name") == "median":
                    operation, size, who = row["run_name"].removesuffix("/real_time").split("|")
                    yield operation, size, who, row["real_time"], row.get("peak_bytes", 0)


def print_highlights(groups, pattern):
    """Ratios only, of the comparisons whose "operation|size" matches."""
    print("| operation | size | Morvik, us | compared with | ratio |")
    print("|---|---|---:|---|---:|")
    for (operation, size), results in groups.items():
        if "morvik" in results and re.fullmatch(pattern, f"{operation}|{size}"):
            time = results.pop("morvik")[0]
            for who, (peer_time, _) in results.items():
                print(f"| {operation} | {size} | {time:.0f} | {who} | {peer_time / time:.1f} |")


def print_worst(groups, count):
    """The lowest ratios against the calls that define a result."""
    judges = ("as written", "OpenCV", "cv::morphologyEx")
    rows = sorted((peer_time / results["morvik"][0], operation, size, who)
                  for (operation, size), results in groups.items() if "morvik" in results
                  for who, (peer_time, _) in results.items() if who in judges)
    print("| operation | size | compared with | ratio |")
    print("|---|---|---|---:|")
    for ratio, operation, size, who in rows[:count]:
        print(f"| {operation} | {size} | {who} | {ratio:.2f} |")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--highlights", metavar="PATTERN", help="only these, without the peaks")
    parser.add_argument("--worst", type=int, metavar="N", help="the N lowest ratios only")
    parser.add_argument("results", nargs="+", help="JSON files")
    arguments = parser.parse_args()
    groups = {}
    for operation, size, who, time, peak in medians(arguments.results):
        groups.setdefault((operation, size), {})[who] = time, peak
    if arguments.highlights:
        print_highlights(groups, arguments.highlights)
        return
    if arguments.worst:
        print_worst(groups, arguments.worst)
        return
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
