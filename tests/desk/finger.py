"""A finger on the screen of an X server of xorg-touch.conf. Each message of its test devices, least significant byte first:

    length (4, all of it) | kind (4): 0, version | major (2) | minor (2)             answered with the same
    length (4) | kind (4): 6, touch | finger (4) | what (4): 18 down, 19 moved, 20 up
      | 0 (4) | which values (8, a bit each) | 0 (4) | 64 values (8 each, floating point) | 512 bytes unused
"""

import socket
import struct
import time

DOWN, MOVED, UP = 18, 19, 20


def connected(path):
    device = socket.socket(socket.AF_UNIX)
    device.connect(path)
    device.sendall(struct.pack("<IIHH", 12, 0, 1, 1))
    device.recv(12)
    return device


class Finger:
    def __init__(self, folder, width=384, height=720):
        self.size = width, height
        # A device that nobody is connected to takes the server's whole processor.
        self.others = [connected(f"{folder}/{name}") for name in ("keyboard", "pointer")]
        self.device = connected(f"{folder}/touch")

    def send(self, what, place):
        values = [65535 * at / most for at, most in zip(place, self.size)] + [0.0] * 62
        rest = struct.pack("<4I8s4x64d512x", 6, 1, what, 0, b"\3", *values)
        self.device.sendall(struct.pack("<I", 4 + len(rest)) + rest)

    def drag(self, start, end, seconds=0.2, steps=10):
        self.send(DOWN, start)
        for step in range(1, steps + 1):
            time.sleep(seconds / steps)
            self.send(MOVED, [a + (b - a) * step / steps for a, b in zip(start, end)])
        self.send(UP, end)

    def tap(self, place, seconds=0.08):
        self.send(DOWN, place)
        time.sleep(seconds)
        self.send(UP, place)
