"""The bundled simulator as a child, and what its pictures carry."""

import json
import os
import subprocess

COLUMNS, ROWS = 40, 30  # the grid that it draws in
BARS = [(191, 191, 191), (191, 191, 0), (0, 191, 191), (0, 191, 0), (191, 0, 191), (191, 0, 0)]


class Simulator:
    def __init__(self, *arguments):
        command = [os.environ["QUORVID_SIM"], "--json", "--port", "0", *arguments]
        self.process = subprocess.Popen(
            command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.ports = json.loads(self.process.stdout.readline())

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()
        self.process.stdout.close()

    def at(self, service):
        return f"127.0.0.1:{self.ports[service]}"


def cell(array, column, row):
    """The pixel in the middle of a cell of the grid."""
    height, width = array.shape[:2]
    return array[int((row + .5) * height / ROWS), int((column + .5) * width / COLUMNS)]


def counter(grey):
    """The number of the picture in its loop; None where the block code's checksum doesn't hold."""
    bits = 0
    for i in range(64):
        bits = bits << 1 | int(cell(grey, 23 + i % 16, 25.5 + i // 16) > 126)
    crc = 0xffff
    for bit in range(63, 15, -1):
        overflow = crc >> 15 != bits >> bit & 1
        crc = crc << 1 & 0xffff ^ (0x1021 if overflow else 0)
    return bits >> 48 if crc == bits & 0xffff else None
