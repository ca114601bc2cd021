#!/usr/bin/env python3
"""Writes what the fuzzers start from: seeds.py FOLDER, a folder in it for each fuzzer, and one of whole streams.

The inputs are laid out as the comment at the head of each fuzzer says.
"""
import pathlib
import re
import struct
import subprocess
import sys

CODE = b"\0\0\0\1"
# Name: size, pixel format, options of x264. Only those of LIVE tell by their order counts which picture is missing.
KINDS = {
    "plain": ("64x48", "yuv420p", "slices=2:bframes=0", "baseline"),
    "live": ("64x64", "yuv420p", "bframes=0:fake-interlaced=1:cabac=0", "main"),
    "live-slices": ("96x64", "yuv420p", "bframes=0:fake-interlaced=1:slices=4", "high"),
    "live-fields": ("80x64", "yuv420p", "interlaced=1:bframes=0:ref=2", "high"),
    "fields-b": ("96x64", "yuv420p", "tff=1:bframes=2:slices=2:weightp=2:nal-hrd=vbr:vbv-maxrate=500:vbv-bufsize=500", "high"),
    "cropped": ("90x58", "yuv420p", "bframes=2:b-pyramid=normal:ref=4:weightb=1:cqm=jvt", "high"),
    "full-range": ("176x96", "yuvj420p", "intra-refresh=1:keyint=4:bframes=0:sar=4/3:colormatrix=bt709:overscan=show", "main"),
    "wide-422": ("80x48", "yuv422p", "bframes=0", "high422"),
    "deep": ("80x48", "yuv420p10le", "bframes=1", "high10"),
    "grey": ("80x48", "gray", "bframes=0:constrained-intra=1", "high"),
    "wide-full": ("80x48", "yuvj422p", "bframes=0:colormatrix=smpte240m", "high422"),
    "wide-full-444": ("64x48", "yuvj444p", "bframes=0:colormatrix=fcc", "high444"),
    "chroma-444": ("64x48", "yuv444p", "bframes=0:qp=0", "high444"),
}


def units_of(stream):
    return [unit for unit in re.split(b"\0*\0\0\1", stream) if unit]


def encoded(size, pixels, options, profile, count=10):
    """The pictures of a stream, each a list of units."""
    stream = subprocess.run(
        ["ffmpeg", "-v", "error", "-f", "lavfi", "-i", f"testsrc2=size={size}:rate=10", "-frames:v", str(count),
         "-pix_fmt", pixels, "-c:v", "libx264", "-profile:v", profile, "-preset", "fast", "-x264-params",
         f"aud=1:scenecut=0:{options}", "-f", "h264", "-"], check=True, capture_output=True).stdout
    pictures = []
    for unit in units_of(stream):
        if unit[0] & 31 == 9:
            pictures.append([])
        # What the encoder says of itself is left out; recovery points stay.
        elif unit[0] & 31 != 6 or unit[1] != 5:
            pictures[-1].append(unit)
    return pictures


def of_type(units, *types):
    return [unit for unit in units if unit[0] & 31 in types]


def joined(units):
    return b"".join(CODE + unit for unit in units)


def laid_out(head, records):
    """Records of (kind, bytes), or of bytes alone."""
    pairs = (record if isinstance(record, tuple) else (0, record) for record in records)
    return bytes([head]) + b"".join(struct.pack("<BH", kind, len(rest)) + rest for kind, rest in pairs)


def of_bits(header, *fields):
    """A unit of fields as text of zeros and ones; "1" is a number that is 0."""
    bits = "".join(fields) + "1"
    return bytes([header]) + int(bits.ljust(-len(bits) // 8 * -8, "0"), 2).to_bytes(-(-len(bits) // 8), "big")


def counted_by_differences():
    """Order counts of type 1, which x264 doesn't write: each slice has two differences."""
    sps = of_bits(0x67, f"{66:08b}", f"{0xC0:08b}", f"{30:08b}", "1", "1", "010", "0", "1", "1", "1", "010", "0",
                  "00101", "00100", "1", "1", "0", "0")
    pps = of_bits(0x68, "1", "1", "0", "1", "1", "1", "1", "000", "1", "1", "1", "0", "0", "0")
    first = of_bits(0x65, "1", "0001000", "1", "0000", "1", "010", "011", "00", "1", "10" * 40)
    later = of_bits(0x41, "1", "00110", "1", "0001", "011", "010", "0", "0", "0", "1", "10" * 40)
    return sps, pps, first, later


def h264_seeds(name, pictures):
    sps, pps = of_type(pictures[0], 7)[0], of_type(pictures[0], 8)[0]
    # A picture's slices go to a decoder together.
    bodies = [joined(of_type(units, 1, 5, 6))[4:] for units in pictures]
    head = len(name) % 2 * 4
    yield f"decode_units/{name}", laid_out(head | 2, [sps, pps, *bodies])
    yield f"decode_units/{name}-scaled", laid_out(head, [sps, pps, *bodies[:3]])
    yield f"h264_syntax/{name}", laid_out(0, [sps, pps, *((1, body) for body in bodies)])
    yield f"h264_syntax/{name}-frame", laid_out(0, [b"", b"", joined(pictures[0]), joined(pictures[1])])
    frames = [joined(units) for units in pictures]
    for ending, head in enumerate(("mp4", "mkv", "h264")):
        yield f"recorder/{name}.{ending}", laid_out(ending, [(2, frame) for frame in frames])
    yield f"recorder/{name}-split", laid_out(13 | len(name) % 3, [(9, frame) for frame in frames * 2])
    yield f"probe/{name}", laid_out(0, [bytes(18), *map(packet, frames)])
    yield f"streams/{name}.frames", b"".join(struct.pack("<I", len(frame)) + frame for frame in frames)


def packet(frame, kind=b"V"):
    return kind + struct.pack("<i", len(frame)) + bytes(14) + frame


def car_frame(number, frame, kind):
    return b"3GTSV100" + struct.pack("<iii", number, 0, len(frame)) + bytes(13) + bytes([kind, 0, 0]) + frame


def record(device, more=b"more"):
    """A device record with some bytes behind it."""
    return (struct.pack("<i64s32s32sii", 280 + len(more), device, b"van", b"depot", -5, 7) +
            bytes([1, 2, 3]) + b"12:00:00\0" + b"drives".ljust(128, b"\0") + more)


def reply(length, *rest, tag=b"3GAPV104"):
    return [b"??" + tag + struct.pack("<iii", 0, 0x8001, length) + bytes(100), *rest]


def connection_seeds():
    """kinds: 9 nothing can be sent, 10 a signal, 11 the peer closes, 12 resets, 13 is silent, 14 the caller stops, 15 nobody listens."""
    fleet = [bytes(18), packet(bytes(9)), packet(bytes(4), b"A"), packet(bytes(30))]
    car = [car_frame(number, b"frame", kind) for number, kind in ((1, 1), (2, 3), (4, 3), (5, 1), (6, 3))]
    car.insert(2, b"?" * 5)
    relay = reply(11, bytes(7), bytes([127, 0, 0, 1]), struct.pack("<i", 9))
    ends = [(kind, b"") for kind in (9, 10, 15, 11, 12, 13, 14)]
    for name, head, records in (("fleet", 0, fleet), ("car", 1, car), ("relay", 2, relay + [(11, b"")] + car)):
        often = [record for end in ends for record in [*records, end]]
        for flags in (0, 8, 16, 128, 224):
            yield f"workers/{name}-{flags}", laid_out(head | flags, often)
        yield f"probe/{name}", laid_out(head, records)
        yield f"probe/{name}-late", laid_out(head | 4, [record[:7] for record in records[:-1]])
    for flags in (0, 16):
        yield f"workers/relay-unsent{flags}", laid_out(2 | flags, [(9, b"")])
    devices = [struct.pack("<i", 2), record(b"TRUCK-7"), record(b"K\xc3\xb6ln\x1b[2J")]
    polls = [(kind, part) for kind in (0, 10, 11) for part in reply(8, *devices)]
    yield "workers/poll", laid_out(3, [*polls, (11, b""), *reply(8, *devices), (12, b"")])
    # More than a caller's table has room for.
    yield "workers/many", laid_out(4, reply(8, struct.pack("<i", 210), *[record(b"BUS-3", b"")] * 210))
    yield "workers/list", laid_out(4, reply(8, *devices, tag=b"3GAPV105"))
    for raw in (0, 1):
        names = (b"TRUCK-7", "Köln 北京 e\u0301".encode(), b"\x1b[2J\xff\xfe", "\u202egpj\U000e0041".encode())
        yield f"texts/devices{raw}", bytes([raw | 20, 40]) + b"".join(record(name).ljust(304, b"\0") for name in names)


def live_seeds(count):
    """Steps: 0 frames from..to, 1 one frame, 2 without a unit, 3 cut, 4 a foreign frame, 5 a lost connection."""
    steps = [(0, bytes([0, 5])), (1, b"\7"), (0, bytes([0, 3])), (2, bytes([4, 2])), (0, bytes([5, 9])), (5, b"\0"),
             (0, bytes([3, 6])), (0, bytes([0, 9])), (5, b"\1"), (2, bytes([0, 1])), (0, bytes([0, 9]))]
    hostile = [(3, bytes([2, 90])), (4, CODE + b"\x67\x42\xc0\x1e\xda\x02\x80\xf6\x40"), (6, b"?"), (4, CODE + b"\x67?")]
    for stream in range(count):
        for head in range(4):
            yield f"live/{stream}-{head}", laid_out(stream << 2 | head, steps)
        yield f"live/{stream}-hostile", laid_out(stream << 2 | stream & 3, [*steps[:3], *hostile, *steps])


def queue_seeds():
    """Steps: 0 hidden or shown, 1 late, 2 some are taken, 3 all are, 4 frames: how many - 1, header, size, pause."""
    key, frame, spare = (lambda count, size, pause, header=header: (4, bytes([count, header, size, pause]))
                         for header in (0x65, 0x41, 1))
    for name, steps in {
            "bytes": [key(0, 99, 0), frame(63, 255, 0), frame(9, 255, 0), (3, b""), key(0, 9, 0), frame(5, 1, 0), (3, b"")],
            "groups": [key(0, 99, 1), frame(40, 255, 0), key(0, 99, 0), frame(30, 255, 0), key(0, 9, 0), (2, b"\5"), (1, b""), spare(5, 1, 1), (3, b"")],
            "time": [key(0, 9, 1), frame(20, 1, 16), spare(9, 1, 1), (3, b""), frame(3, 1, 1), key(0, 1, 1), (3, b"")],
            "hidden": [key(0, 9, 1), frame(3, 1, 1), (0, b""), frame(2, 1, 1), key(1, 1, 1), (0, b""), spare(3, 1, 1),
                       frame(1, 1, 1), (3, b"")]}.items():
        for head in (128, 129):
            yield f"live/queue-{name}{head}", laid_out(head, steps)


def seeds():
    for name, kind in KINDS.items():
        yield from h264_seeds(name, encoded(*kind))
    yield "h264_syntax/empty-units", laid_out(0, [b"", b"", b"\0\0\1" * 2 + CODE * 2 + b"\x65\x88"])
    sps, pps, *slices = counted_by_differences()
    yield "h264_syntax/differences", laid_out(0, [sps, pps, *((1, body) for body in slices)])
    yield from live_seeds(len(KINDS))
    yield from queue_seeds()
    yield from connection_seeds()


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    for name, content in seeds():
        path = pathlib.Path(sys.argv[1], name)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)


if __name__ == "__main__":
    main()
