#!/usr/bin/env python3
"""Finds the brightest picture of a minute and saves it as a PNG.

  brightest_frame.py fleet.example.com:6602 BUS-17 0 brightest.png [SECONDS]
"""
import struct
import sys
import time
import zlib

import quorvid


def save_png(name, rgb):
    """With what Python has: a PNG is its rows, each behind a zero, compressed."""
    height, width, _ = rgb.shape
    rows = b"".join(b"\0" + row.tobytes() for row in rgb)

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    with open(name, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
                   + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


def main():
    if len(sys.argv) not in (5, 6):
        sys.exit(__doc__)
    server, device, channel, name = sys.argv[1:5]
    end = time.monotonic() + float(sys.argv[5] if len(sys.argv) == 6 else 60)
    brightest, best = None, -1.0
    # The grey values are the decoder's own; only the winner is converted to RGB.
    with quorvid.Player(server, device=device, channel=int(channel), every=True, format="grey") as player:
        for picture in player:
            brightness = picture.array[::4, ::4].mean()
            if brightness > best:
                brightest, best = picture, brightness
            if time.monotonic() > end:
                break
    save_png(name, brightest.read(quorvid.Format.RGB))
    print(f"picture {brightest.number}, {brightest.width} x {brightest.height}, "
          f"came {time.ctime(brightest.arrival_date)}, mean {best:.1f}: {name}")


if __name__ == "__main__":
    try:
        main()
    except (quorvid.Error, ValueError, OSError) as error:
        sys.exit(f"brightest_frame: {error}")
    except KeyboardInterrupt:
        sys.exit(130)
