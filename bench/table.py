#!/usr/bin/env python3
"""Prints Google Benchmark's JSON results as tables of ratios: peer time / Morvik's time."""
import argparse
import json
import re
from pathlib import Path


PIXELS = {"1920x1080": 1920 * 1080, "4032x3024": 4032 * 3024}


class Measured:
    """The median time, in us, the peak on the heap and the traffic with memory of one side."""

    def __init__(self, row):
        self.time = row["real_time"]
        self.peak = row.get("peak_bytes", 0) / 1024
        self.traffic = row.get("read", 0), row.get("written", 0)


def read_results(paths):
    """Returns {(operation, size): {who: Measured}} in order of registration, and {traffic: us}."""
    groups, floors = {}, {}
    for path in paths:
        with open(path, encoding="utf-8") as file:
            rows = json.load(file)["benchmarks"]
        for row in sorted(rows, key=lambda row: row["family_index"]):
            if row.get("aggregate_name") != "median":
                continue
            operation, size, who = row["run_name"].removesuffix("/real_time").split("|")
            measured = Measured(row)
            if operation == "memory floor":
                floors[measured.traffic] = measured.time
            else:
                groups.setdefault((operation, size), {})[who] = measured
    groups = {key: results for key, results in groups.items() if "morvik" in results}
    return groups, floors


def print_highlights(groups, pattern):
    """Ratios only, of the comparisons whose "operation|size" matches."""
    print("| operation | size | Morvik, us | compared with | ratio |")
    print("|---|---|---:|---|---:|")
    for (operation, size), results in groups.items():
        if re.fullmatch(pattern, f"{operation}|{size}"):
            time = results["morvik"].time
            for who, peer in peers(results):
                print(f"| {operation} | {size} | {time:.0f} | {who} | {peer.time / time:.1f} |")


def print_worst(groups, count):
    """The lowest ratios against the calls that define a result."""
    judges = ("as written", "OpenCV", "cv::morphologyEx")
    rows = sorted((peer.time / results["morvik"].time, operation, size, who)
                  for (operation, size), results in groups.items()
                  for who, peer in peers(results) if who in judges)
    print("| operation | size | compared with | ratio |")
    print("|---|---|---|---:|")
    for ratio, operation, size, who in rows[:count]:
        print(f"| {operation} | {size} | {who} | {ratio:.2f} |")


def print_growth(groups):
    """How much more each pixel of a large image costs than one of a small image."""
    small, large = PIXELS
    print(f"| operation | {small}, us | {large}, us | times, beyond the pixels |")
    print("|---|---:|---:|---:|")
    for (operation, size), results in groups.items():
        if size == small and (operation, large) in groups:
            time = results["morvik"].time
            large_time = groups[operation, large]["morvik"].time
            growth = large_time / time / (PIXELS[large] / PIXELS[small])
            print(f"| {operation} | {time:.1f} | {large_time:.1f} | {growth:.2f} |")


def peers(results):
    return [(who, measured) for who, measured in results.items() if who != "morvik"]


def print_all(groups, floors, on_all_cores):
    print("| operation | size | Morvik, us | floor, us | times floor | peak, KB "
          "| peer | peer, us | peer's peak, KB | all cores | ratio |")
    print("|---|---|---:|---:|---:|---:|---|---:|---:|---:|---:|")
    for (operation, size), results in groups.items():
        own = results["morvik"]
        floor = floors.get(own.traffic)
        of_floor = f"{floor:.1f} | {own.time / floor:.1f}" if floor else " | "
        start = f"| {operation} | {size} | {own.time:.1f} | {of_floor} | {own.peak:.0f} |"
        for who, peer in peers(results):
            shared = on_all_cores.get((operation, size))
            ratio = f"{shared[who].time / shared['morvik'].time:.2f}" if shared else ""
            print(f"{start} {who} | {peer.time:.1f} | {peer.peak:.0f} | {ratio} "
                  f"| {peer.time / own.time:.2f} |")
        if not peers(results):
            print(f"{start} | | | | |")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--highlights", metavar="PATTERN", help="only these, without the peaks")
    parser.add_argument("--worst", type=int, metavar="N", help="the N lowest ratios only")
    parser.add_argument("--growth", action="store_true", help="how times grow with the size")
    parser.add_argument("--all-cores", metavar="FOLDER",
                        help="with files of the same names, measured on all cores: their ratios, too")
    parser.add_argument("results", nargs="+", help="JSON files")
    arguments = parser.parse_args()
    groups, floors = read_results(arguments.results)
    if arguments.highlights:
        print_highlights(groups, arguments.highlights)
    elif arguments.worst:
        print_worst(groups, arguments.worst)
    elif arguments.growth:
        print_growth(groups)
    else:
        folder = arguments.all_cores
        on_all_cores, _ = read_results(Path(folder, Path(path).name) for path in arguments.results
                                       ) if folder else ({}, {})
        print_all(groups, floors, on_all_cores)


if __name__ == "__main__":
    main()
