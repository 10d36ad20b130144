#!/usr/bin/env python3
"""Makes the MAT-file fixtures of this folder from the format's byte rules,
independently of the library: each case is NAME.json (what to write or what
a load must find) beside NAME.mat (the exact bytes). Run it from anywhere;
it rewrites the files in its own folder."""
import json
import os
import struct

HERE = os.path.dirname(os.path.abspath(__file__))


def pad8(b):
    return b + b"\0" * (-len(b) % 8)


def header(text=b"KIVARA 1.0 MAT-file, Platform: WIN32"):
    return text.ljust(123, b" ") + b" " + struct.pack("<HH", 0x0100, 19785)


def matrix(name, cls, rows, cols, dtype, data, small_name=False, dims_bytes=8, size=None):
    """One miMATRIX element; `size` overrides its size field."""
    body = struct.pack("<II", 6, 8) + struct.pack("<II", cls, 0)
    body += struct.pack("<II", 5, dims_bytes) + struct.pack("<ii", rows, cols)
    if small_name:
        body += struct.pack("<HH", 1, len(name)) + name.ljust(4, b"\0")
    else:
        n = max(len(name), 5)
        body += struct.pack("<II", 1, n) + pad8(name.ljust(n, b"\0"))
    body += struct.pack("<II", dtype, len(data)) + pad8(data)
    return struct.pack("<II", 14, len(body) if size is None else size) + body


def channel(name, times, values, **kw):
    data = struct.pack("<%dd" % (2 * len(times)), *(list(times) + list(values)))
    return matrix(name, 6, len(times), 2, 9, data, **kw)


def string(name, text):
    return matrix(name, 4, 1, len(text), 4, text.encode("utf-16-le"))


def save(name, case, data):
    with open(os.path.join(HERE, name + ".json"), "w") as f:
        json.dump(case, f, indent=1)
        f.write("\n")
    with open(os.path.join(HERE, name + ".mat"), "wb") as f:
        f.write(data)


def writes():
    speed = {"channel": "Speed", "times": [0, 5000000, 10000000], "values": [1.5, 2.5, 3.5]}
    save("write_new_file", {"write": []}, header())
    save("write_channel_3_samples", {"write": [speed]},
         header() + channel(b"Speed", [0, 0.5, 1.0], [1.5, 2.5, 3.5]))
    save("write_comment_2_characters", {"write": [{"string": "KivShortComment", "value": "ok"}]},
         header() + string(b"KivShortComment", "ok "))
    save("write_name_with_blanks", {"write": [{"channel": "Engine Speed", "times": [0], "values": [7]}]},
         header() + channel(b"Engine_Speed", [0], [7]))
    save("write_name_under_5", {"write": [{"channel": "ab", "times": [-10000000], "values": [-1]}]},
         header() + channel(b"ab", [-1.0], [-1]))
    save("write_long_name_cut_at_31", {"write": [{"channel": "A" * 40, "times": [0], "values": [0]}]},
         header() + channel(b"A" * 31, [0], [0]))
    three = matrix(b"grid", 6, 1, 3, 9, struct.pack("<3d", 1, 2, 3))
    # Information written before the channels; a rewrite puts the channels
    # (and the 3-column variable) first, the kept information behind them,
    # and the new variables last.
    save("write_information_rewrite", {
        "write": [{"string": "KivDriverName", "value": "Ann"},
                  {"string": "KivCarName", "value": "Old"},
                  {"raw": three.hex()},
                  speed,
                  {"information": [["Car name", "New car"], ["Session number", 7], ["GUID", "x"]]}]},
        header() + three + channel(b"Speed", [0, 0.5, 1.0], [1.5, 2.5, 3.5]) + string(b"KivDriverName", "Ann")
        + string(b"KivCarName", "New car") + string(b"KivOuting", "<007:---:--->"))
    save("write_outing_numbers_keep_the_file", {
        "write": [{"string": "KivOuting", "value": "<001:002:003>"},
                  {"information": [["Outing number", -5], ["First lap number", 1234]]}]},
        header() + string(b"KivOuting", "<001:-05:123>"))


def reads():
    ch = channel(b"Speed", [1.0, 2.0], [10, 20])
    name_lies = bytearray(channel(b"NameLies", [1], [2]))
    struct.pack_into("<I", name_lies, 44, 4000)  # a name longer than its element
    name_lies = bytes(name_lies)
    save("read_small_name_form", {"read": {"result": 0, "channels": {"ab": [0.5, 1.5, 2]}}},
         header(b"MATLAB 5.0 MAT-file") + channel(b"ab", [0.5, 1.5], [1, 2], small_name=True))
    save("read_truncated_element", {"read": {"result": 0, "channels": {"Speed": [1, 2, 2]}}},
         header() + ch + channel(b"Cut", [0, 1], [0, 1])[:40])
    save("read_lying_sizes", {"read": {"result": 0, "channels": {"Speed": [1, 2, 2]}}},
         header() + matrix(b"Lies", 6, 10, 2, 9, struct.pack("<2d", 1, 2))
         + name_lies + ch
         + channel(b"Huge", [0], [0], size=0xFFFFFFF0))
    save("read_zero_and_negative_dimensions", {"read": {"result": 1, "channels": {}}},
         header() + matrix(b"Empty", 6, 0, 2, 9, b"") + matrix(b"Negative", 6, -1, 2, 9, b"")
         + matrix(b"NegText", 4, 1, -3, 4, b""))
    save("read_compressed_ends_the_walk", {"read": {"result": 0, "channels": {"Speed": [1, 2, 2]}}},
         header() + ch + struct.pack("<II", 15, 8) + b"\x78\x9c\0\0\0\0\0\0" + channel(b"After", [0], [0]))
    save("read_first_of_a_name_stands", {
        "read": {"result": 0, "channels": {"Speed": [1, 2, 2]},
                 "information": {"System details": "Kivara Written DataSet", "Driver name": "First",
                                 "Session number": 0, "Outing number": 0, "First lap number": 0}}},
        header() + ch + channel(b"Speed", [5, 6, 7], [0, 0, 0]) + string(b"KivDriverName", "First")
        + string(b"KivDriverName", "Second") + string(b"KivOuting", "<---:---:-->")
        + string(b"KivOuting", "<---:---:--->") + string(b"KivOuting", "<001:002:003>"))
    save("read_foreign_file_without_channels", {
        "read": {"result": 1, "channels": {},
                 "information": {"System details": "Externally Written DataSet", "Track name": "Oval"}}},
        header(b"MATLAB 5.0 MAT-file, written elsewhere") + matrix(b"grid", 6, 2, 3, 9, struct.pack("<6d", *range(6)))
        + string(b"KivTrackName", "Oval") + matrix(b"dims4", 6, 1, 2, 9, struct.pack("<2d", 0, 1), dims_bytes=4))
    save("read_header_only_short", {"read": {"result": 1, "channels": {}}}, header()[:60])


if __name__ == "__main__":
    writes()
    reads()
