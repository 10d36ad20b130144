#!/usr/bin/python3
"""The pandas peer of the resampled export in bench/export_host_bench: the
table of a text data set read (pandas.read_csv, C engine), every channel
put onto a grid with numpy.interp, and the result written with
DataFrame.to_csv, as `velmar export IN OUT.txt --rate HZ` does.

    /usr/bin/python3 scripts/bench_pandas_export.py FILE OUT HZ [REPEATS]

Prints the best of REPEATS (default 3) end-to-end runs, interpreter start and
imports excluded, as "(<ms> ms)", which the benchmark reads.
"""
import sys
import time

import numpy as np
import pandas as pd

from bench_pandas import find_table


def export(path, out, rate, header, rows):
    frame = pd.read_csv(path, sep="\t", skiprows=header, nrows=rows, header=0, engine="c")
    times = frame.iloc[:, 0].to_numpy()
    period = 1.0 / rate
    grid = np.arange(np.ceil(times[0] / period), np.floor(times[-1] / period) + 1) * period
    resampled = {"Time": grid}
    for name in frame.columns[1:]:
        resampled[name] = np.interp(grid, times, frame[name].to_numpy())
    pd.DataFrame(resampled).to_csv(out, sep="\t", index=False, float_format="%.7g")


def main():
    path, out, rate = sys.argv[1], sys.argv[2], float(sys.argv[3])
    repeats = int(sys.argv[4]) if len(sys.argv) > 4 else 3
    header, rows = find_table(path)
    best = float("inf")
    for _ in range(repeats):
        start = time.perf_counter()
        export(path, out, rate, header, rows)
        best = min(best, time.perf_counter() - start)
    print("pandas export of %d rows at %g Hz (%.1f ms)" % (rows, rate, best * 1000.0))


if __name__ == "__main__":
    main()
