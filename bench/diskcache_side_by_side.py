#!/usr/bin/python3
"""Runs python3-diskcache and our DiskStorage on the same workload, side by side.

Workload: COUNT sets of new keys with 4 KiB values, COUNT overwrites of the
same keys, then GETS reads cycling over every key. The two stores and the
bare system calls (the floor of any one-file-per-key store) take turns round
by round, the order flipped each round, each in a fresh directory on the same
file system; the median round counts. Prints operations per second for all
three and ours as a ratio to diskcache's (goal >= 3x).

  bench/diskcache_side_by_side.py --driver build/release/bench/diskcache_driver
  bench/diskcache_side_by_side.py --rows   # only the rows bench/run_all.sh prints
"""

import argparse
import glob
import json
import os
import statistics
import subprocess
import sys
import tempfile
import time

import diskcache

VALUE_SIZE = 4096
GOAL = 3.0
OPERATIONS = (("set_new_keys_ops_per_s", "set, new keys, 4 KiB"),
              ("overwrite_ops_per_s", "set, overwrite, 4 KiB"),
              ("get_ops_per_s", "get, all keys, 4 KiB"))


def keys(count):
    # The same key texts the driver writes.
    return [f"key-{i}.jpg" for i in range(count)]


def rate(count, operation):
    start = time.perf_counter()
    for i in range(count):
        operation(i)
    return count / (time.perf_counter() - start)


def run_diskcache(directory, count, gets):
    names = keys(count)
    total = 0
    with diskcache.Cache(directory) as cache:
        value = bytes([7]) * VALUE_SIZE
        created = rate(count, lambda i: cache.set(names[i], value))
        value = bytes([8]) * VALUE_SIZE
        overwritten = rate(count, lambda i: cache.set(names[i], value))

        def get(i):
            nonlocal total
            total += len(cache.get(names[i % count]))
        read = rate(gets, get)
    if total != gets * VALUE_SIZE:
        sys.exit("diskcache returned wrong values")
    return dict(zip((name for name, _ in OPERATIONS), (created, overwritten, read)))


def run_driver(driver, directory, count, gets, raw=False):
    command = [driver] + (["--raw"] if raw else []) + [directory, str(count), str(gets)]
    return json.loads(subprocess.run(command, check=True, capture_output=True, text=True).stdout)


def default_driver():
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    found = glob.glob(os.path.join(root, "build", "*", "bench", "diskcache_driver"))
    return max(found, key=os.path.getmtime) if found else None


def row(metric, goal, ratio, lower_is_better):
    """One line of bench/run_all.sh's table."""
    passed = ratio <= goal if lower_is_better else ratio >= goal
    goal_text = ("<= " if lower_is_better else ">= ") + f"{goal:g}x"
    return f"{metric:<56}{goal_text:>10}{ratio:>9.2f}x  {'pass' if passed else 'FAIL'}"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--driver", default=default_driver(), help="path of diskcache_driver")
    parser.add_argument("--count", type=int, default=10000)
    parser.add_argument("--gets", type=int, default=50000)
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--rows", action="store_true", help="print only the ratio rows")
    # Not /tmp by default: test runs churn it, and ext4 creates files slowly in
    # block groups full of recently deleted inodes, which would measure the
    # neighbours rather than the stores.
    parser.add_argument("--directory", default=None,
                        help="parent of the scratch directories, the same for every side "
                             "(default: the driver's build directory)")
    args = parser.parse_args()
    if not args.driver or not os.path.exists(args.driver):
        sys.exit("diskcache_driver not found; build it or pass --driver")
    if args.directory is None:
        args.directory = os.path.dirname(os.path.abspath(args.driver))

    sides = {
        "diskcache": lambda d: run_diskcache(d, args.count, args.gets),
        "ours": lambda d: run_driver(args.driver, d, args.count, args.gets),
        "raw": lambda d: run_driver(args.driver, d, args.count, args.gets, raw=True),
    }
    results = {side: [] for side in sides}
    # Every run gets a fresh directory, and all are removed only at the end:
    # deleting thousands of files would slow the next run's file creation.
    with tempfile.TemporaryDirectory(dir=args.directory, prefix="side_by_side.") as parent:
        for round_number in range(args.rounds):
            order = list(sides) if round_number % 2 == 0 else list(reversed(sides))
            for side in order:
                results[side].append(sides[side](os.path.join(parent, f"{side}-{round_number}")))

    def median(side, name):
        return statistics.median(result[name] for result in results[side])

    # The median of the per-round ratios, as in bench/side_by_side.h.
    ratios = {name: statistics.median(ours[name] / theirs[name]
                                      for ours, theirs in zip(results["ours"], results["diskcache"]))
              for name, _ in OPERATIONS}
    if not args.rows:
        print(f"{'operation':<24}{'diskcache ops/s':>18}{'DiskStorage ops/s':>20}{'syscalls ops/s':>17}{'ratio':>8}")
        for name, label in OPERATIONS:
            print(f"{label:<24}{median('diskcache', name):>18,.0f}{median('ours', name):>20,.0f}"
                  f"{median('raw', name):>17,.0f}{ratios[name]:>7.2f}x")
        print(f"goal: ratio (DiskStorage over diskcache, median of {args.rounds} rounds) >= {GOAL:g}x on each")
    for name, label in OPERATIONS:
        print(row(f"diskcache side by side: {label}", GOAL, ratios[name], lower_is_better=False))


if __name__ == "__main__":
    main()
