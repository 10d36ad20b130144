#!/usr/bin/python3
"""The pandas peer of bench/spreadsheet_bench: the same table (a time column
and CHANNELS channels of ROWS rows) written to .xlsx by
pandas.DataFrame.to_excel with the openpyxl engine (openpyxl writing the
rows itself when pandas is missing; the line says which).

    /usr/bin/python3 scripts/bench_pandas_xlsx.py FILE CHANNELS ROWS

Prints the wall clock in brackets and process CPU time in square brackets;
interpreter start, imports and building the table are not counted.
"""
import math
import sys
import time


def table(channels, rows):
    times = [k * 0.01 for k in range(rows)]
    columns = {"Time": times}
    for c in range(channels):
        columns["Channel %d" % (c + 1)] = [math.sin(t * (c + 1)) * 100.0 + c for t in times]
    return columns


def main():
    path, channels, rows = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
    columns = table(channels, rows)
    try:
        import pandas
        frame = pandas.DataFrame(columns)
        how = "pandas.DataFrame.to_excel (openpyxl)"
        start, cpu = time.perf_counter(), time.process_time()
        frame.to_excel(path, sheet_name="Channel Data", index=False, engine="openpyxl")
    except ImportError:
        import openpyxl
        how = "openpyxl write_only"
        start, cpu = time.perf_counter(), time.process_time()
        book = openpyxl.Workbook(write_only=True)
        sheet = book.create_sheet("Channel Data")
        names = list(columns)
        sheet.append(names)
        for k in range(rows):
            sheet.append([columns[n][k] for n in names])
        book.save(path)
    elapsed, cpu = time.perf_counter() - start, time.process_time() - cpu
    print("%s: (%.1f ms) [%.1f ms]" % (how, elapsed * 1000.0, cpu * 1000.0))


main()
