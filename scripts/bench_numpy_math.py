#!/usr/bin/python3
"""The numpy peer of bench/math_bench: a * b + c over three float64 arrays
read from one raw file (a, b and c one after the other, N samples each).
math_bench writes the file, runs this in the same run and reads the
milliseconds in brackets.

    /usr/bin/python3 scripts/bench_numpy_math.py FILE N [REPEATS]

Prints the best of REPEATS (default 20) runs in million samples a second,
with the process CPU time in brackets (the machine may be shared, so CPU
time is what both sides are compared by).
"""
import sys
import time

import numpy as np


def main():
    path, n = sys.argv[1], int(sys.argv[2])
    repeats = int(sys.argv[3]) if len(sys.argv) > 3 else 20
    data = np.fromfile(path, dtype=np.float64)
    a, b, c = data[:n], data[n:2 * n], data[2 * n:3 * n]
    best = float("inf")
    for _ in range(repeats):
        start = time.process_time()
        out = a * b + c
        best = min(best, time.process_time() - start)
    assert out.shape == (n,)
    print("numpy a*b+c: %.1f Msamples/s (%.3f ms)" % (n / max(best, 1e-9) / 1e6, best * 1000))


if __name__ == "__main__":
    main()
