#!/usr/bin/python3
"""The scipy peer of bench/mat_bench: scipy.io.loadmat of a MAT-file, then
numpy's min and max of every value column, as `velmar channels` reads them.
mat_bench runs it in the same run and reads the milliseconds in brackets.

    /usr/bin/python3 scripts/bench_scipy_mat.py FILE [REPEATS]

Prints the best of REPEATS (default 3) runs, wall clock in brackets and
process CPU time in square brackets; interpreter start and imports are not
counted.
"""
import sys
import time

import scipy.io


def run(path):
    data = scipy.io.loadmat(path)
    extremes = {}
    for name, array in data.items():
        if name.startswith("__"):
            continue
        values = array[:, 1]
        extremes[name] = (values.min(), values.max())
    return extremes


def main():
    path = sys.argv[1]
    repeats = int(sys.argv[2]) if len(sys.argv) > 2 else 3
    best = None
    best_cpu = None
    for _ in range(repeats):
        start = time.perf_counter()
        cpu = time.process_time()
        extremes = run(path)
        elapsed = time.perf_counter() - start
        cpu = time.process_time() - cpu
        best = elapsed if best is None else min(best, elapsed)
        best_cpu = cpu if best_cpu is None else min(best_cpu, cpu)
    print("scipy.io.loadmat + min/max of %d channels: (%.1f ms) cpu [%.1f ms]"
          % (len(extremes), best * 1000.0, best_cpu * 1000.0))


if __name__ == "__main__":
    main()
