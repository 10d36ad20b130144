#!/usr/bin/python3
"""The pandas peer of bench/text_bench and bench/host_bench: pandas.read_csv
(C engine) over the table of a text data set, skipping the lines that are not
the table. host_bench runs it in the same run as the host and reads the
milliseconds in brackets.

    /usr/bin/python3 scripts/bench_pandas.py FILE [REPEATS]

Prints the best of REPEATS (default 3) runs in MiB/s of the whole file, the
unit text_bench reports in.
"""
import os
import sys
import time

import pandas as pd

NOT_A_ROW = (b"\t", b"\r", b"\n", b" ", b"{", b"}")


def find_table(path):
    """Line index of the first {ChannelBlock}'s header and its row count."""
    header = None
    rows = 0
    with open(path, "rb") as f:
        for i, line in enumerate(f):
            if header is None:
                if line.startswith(b"{ChannelBlock}"):
                    header = i + 1
                continue
            if i == header:
                continue
            if line[:1] in NOT_A_ROW:
                break
            rows += 1
    if header is None:
        sys.exit("no {ChannelBlock} in " + path)
    return header, rows


def main():
    path = sys.argv[1]
    repeats = int(sys.argv[2]) if len(sys.argv) > 2 else 3
    header, rows = find_table(path)
    size = os.path.getsize(path)
    best = float("inf")
    frame = None
    for _ in range(repeats):
        start = time.perf_counter()
        frame = pd.read_csv(path, sep="\t", skiprows=header, nrows=rows, header=0, engine="c")
        best = min(best, time.perf_counter() - start)
    mib = size / (1 << 20)
    print(f"pandas {pd.__version__} read_csv: {mib / best:.1f} MiB/s "
          f"({best * 1000:.0f} ms for {mib:.1f} MiB, {frame.shape[0]} rows x {frame.shape[1]} columns)")


if __name__ == "__main__":
    main()
