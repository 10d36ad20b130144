# Prints a workbook's sheets as JSON, {sheet: {"B2": value}}, read by an
# independent reader: openpyxl for .xlsx, xlrd for .xls. Exit 3 when the
# reader is missing.
import json
import sys

path = sys.argv[1]
out = {}
try:
    if path.lower().endswith(".xls"):
        import xlrd
        book = xlrd.open_workbook(path)
        for s in book.sheets():
            out[s.name] = {xlrd.cellname(r, c): s.cell_value(r, c)
                           for r in range(s.nrows) for c in range(s.ncols) if s.cell_type(r, c) in (1, 2)}
    else:
        import openpyxl
        book = openpyxl.load_workbook(path, read_only=True)
        for s in book.worksheets:
            out[s.title] = {c.coordinate: c.value for row in s.iter_rows() for c in row
                            if getattr(c, "value", None) is not None}
except ImportError:
    sys.exit(3)
print(json.dumps(out))
