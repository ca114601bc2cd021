#!/usr/bin/env python3
"""Writes what the fuzzers start from: seeds.py FOLDER, a folder in it for each fuzzer.

The inputs are laid out as the comment at the head of each fuzzer says.
"""
import pathlib
import re
import struct
import subprocess
import sys

CODE = b"\0\0\0\1"


def encoded(size, options):
    """The units of three pictures."""
    stream = subprocess.run(
        ["ffmpeg", "-v", "error", "-f", "lavfi", "-i", f"testsrc2=size={size}:rate=5", "-frames:v", "3",
         "-pix_fmt", "yuv420p", "-c:v", "libx264", *options, "-f", "h264", "-"],
        check=True, capture_output=True).stdout
    return [unit for unit in re.split(b"\0*\0\0\1", stream) if unit]


def of_type(units, *types):
    return [unit for unit in units if unit[0] & 31 in types]


def record(device, more=b"more"):
    """A device record with some bytes behind it."""
    return (struct.pack("<i64s32s32sii", 280 + len(more), device, b"van", b"depot", -5, 7) +
            bytes([1, 2, 3]) + b"12:00:00\0" + b"drives".ljust(128, b"\0") + more)


def reply(length, rest, tag=b"3GAPV104"):
    return b"??" + tag + struct.pack("<iii", 0, 0x8001, length) + bytes(100) + rest


def seeds():
    plain = encoded("64x48", ["-profile:v", "baseline", "-x264-params", "slices=2"])
    coded = encoded("80x64", ["-profile:v", "high", "-x264-params", "interlaced=1:bframes=0"])
    for name, units in {"plain": plain, "coded": coded}.items():
        units = of_type(units, 1, 5, 7, 8)
        sps, pps = of_type(units, 7)[0], of_type(units, 8)[0]
        slices = of_type(units, 1, 5)
        yield f"decode_units/{name}", b"\0" + b"".join(struct.pack("<H", len(u)) + u for u in units)
        frame = slices[0] + b"".join(CODE + unit for unit in slices[1:])
        yield f"h264_syntax/{name}", bytes([len(sps), len(pps)]) + sps + pps + frame
        yield f"h264_syntax/{name}-frame", bytes(2) + CODE + sps + CODE + pps + CODE + frame
    yield "h264_syntax/empty-units", bytes(2) + b"\0\0\1" * 2 + CODE * 2 + b"\x65\x88"
    answer = bytes(18)
    packet = [kind + struct.pack("<i", size) + bytes(14) + bytes(size)
              for kind, size in ((b"V", 9), (b"A", 4), (b"V", 30))]
    yield "replies/fleet", b"\0" + answer + b"".join(packet)
    frames = [b"3GTSV100" + struct.pack("<iii", number, 0, 5) + bytes(13) + bytes([kind, 0, 0]) + b"frame"
              for number, kind in ((1, 1), (2, 3), (4, 3))]
    yield "replies/car", b"\1" + b"?".join(frames)
    yield "replies/relay", b"\2" + reply(11, bytes(7) + bytes([127, 0, 0, 1]) + struct.pack("<i", 9))
    devices = struct.pack("<i", 2) + record(b"TRUCK-7") + record(b"K\xc3\xb6ln\x1b[2J")
    yield "replies/poll", b"\3" + reply(8, devices)
    # More than a caller's table has room for.
    yield "replies/many", b"\4" + reply(8, struct.pack("<i", 210) + record(b"BUS-3", more=b"") * 210)
    yield "replies/list", b"\4" + reply(8, devices, b"3GAPV105")


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    for name, content in seeds():
        path = pathlib.Path(sys.argv[1], name)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)


if __name__ == "__main__":
    main()
