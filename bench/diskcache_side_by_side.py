#!/usr/bin/python3
"""Runs python3-diskcache and our DiskStorage on the same workload, side by side.

Workload: write COUNT new keys with 4 KiB values, then GETS reads cycling over
the first HOT keys (all in the page cache). The two sides alternate round by
round, the order flipped each round, each in a fresh directory on the same file
system; the ratios are medians of the per-round ratios. Prints both sides'
median operations per second and ours as a ratio to diskcache's.

  bench/diskcache_side_by_side.py --driver build/release/bench/disk_storage_bench
"""

import argparse
import glob
import json
import os
import subprocess
import sys
import tempfile
import time

import diskcache

VALUE_SIZE = 4096


def keys(count):
    # The same key texts the driver writes.
    return [f"key-{i}.jpg" for i in range(count)]


def run_diskcache(directory, count, gets, hot_keys):
    value = bytes([7]) * VALUE_SIZE
    names = keys(count)
    with diskcache.Cache(directory) as cache:
        start = time.perf_counter()
        for name in names:
            cache.set(name, value)
        set_seconds = time.perf_counter() - start
        hot = names[: min(count, hot_keys)]
        total = 0
        start = time.perf_counter()
        for i in range(gets):
            total += len(cache.get(hot[i % len(hot)]))
        get_seconds = time.perf_counter() - start
    if total != gets * VALUE_SIZE:
        sys.exit("diskcache returned wrong values")
    return {"set_new_keys_ops_per_s": count / set_seconds, "hot_get_ops_per_s": gets / get_seconds}


def run_ours(driver, directory, count, gets, hot_keys):
    output = subprocess.run([driver, "--side-by-side", directory, str(count), str(gets), str(hot_keys)],
                            check=True, capture_output=True, text=True).stdout
    return json.loads(output)


def file_creation_rate(directory, count=1000):
    """Bare O_CREAT + close per second: the ceiling for any one-file-per-key store here."""
    os.mkdir(directory)
    start = time.perf_counter()
    for i in range(count):
        os.close(os.open(os.path.join(directory, str(i)), os.O_CREAT | os.O_WRONLY | os.O_EXCL, 0o600))
    return count / (time.perf_counter() - start)


def default_driver():
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    found = glob.glob(os.path.join(root, "build", "*", "bench", "disk_storage_bench"))
    return max(found, key=os.path.getmtime) if found else None


def median(values):
    return sorted(values)[len(values) // 2]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--driver", default=default_driver(), help="path of disk_storage_bench")
    parser.add_argument("--count", type=int, default=10000)
    parser.add_argument("--gets", type=int, default=50000)
    parser.add_argument("--hot", type=int, default=10000, help="how many of the keys the gets cycle over")
    parser.add_argument("--rounds", type=int, default=6)
    # Not /tmp by default: test runs churn it, and ext4 (without a journal)
    # creates files slowly in block groups full of recently deleted inodes,
    # which would measure the neighbours rather than the two caches.
    parser.add_argument("--directory", default=None,
                        help="parent of the scratch directories, the same for both sides "
                             "(default: the driver's build directory)")
    args = parser.parse_args()
    if not args.driver or not os.path.exists(args.driver):
        sys.exit("disk_storage_bench not found; build it or pass --driver")
    if args.directory is None:
        args.directory = os.path.dirname(os.path.abspath(args.driver))

    # Every round gets a fresh directory, and all are removed only at the end:
    # deleting thousands of files would slow the next round's file creation.
    with tempfile.TemporaryDirectory(dir=args.directory, prefix="side_by_side.") as parent:
        rounds = iter(range(2 * args.rounds))

        def fresh(run):
            return lambda: run(os.path.join(parent, str(next(rounds))))

        sides = (fresh(lambda d: run_ours(args.driver, d, args.count, args.gets, args.hot)),
                 fresh(lambda d: run_diskcache(d, args.count, args.gets, args.hot)))
        ours, theirs = [], []
        for round_ in range(args.rounds):
            order = (0, 1) if round_ % 2 == 0 else (1, 0)
            results = {side: sides[side]() for side in order}
            ours.append(results[0])
            theirs.append(results[1])
        creates = file_creation_rate(os.path.join(parent, "creates"))

    print(f"{'operation':<24}{'diskcache ops/s':>18}{'DiskStorage ops/s':>20}{'ratio':>8}")
    for name, label in (("set_new_keys_ops_per_s", "set, new keys, 4 KiB"),
                        ("hot_get_ops_per_s", f"get, {args.hot} keys, 4 KiB")):
        ratio = median([o[name] / t[name] for o, t in zip(ours, theirs)])
        print(f"{label:<24}{median([t[name] for t in theirs]):>18,.0f}"
              f"{median([o[name] for o in ours]):>20,.0f}{ratio:>7.2f}x")
    print(f"bare file creation here: {creates:,.0f} files/s (a new key costs one)")
    print("goal: get ratio >= 2x")


if __name__ == "__main__":
    main()
