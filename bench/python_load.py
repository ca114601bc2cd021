#!/usr/bin/env python3
"""Players of the Python package, whose pictures are read as they come, and what they cost, as one
JSON object: what player_load measures, in the same figures.

  QUORVID_LIBRARY_DIR=build PYTHONPATH=python bench/python_load.py HOST PORT --every --format grey
  build/player_load HOST PORT --alone                     the limit: decoding of the stream alone
"""
import argparse
import json
import sys
import threading
import time

import quorvid


class Reader:
    """A player, and a thread that reads its pictures. Channel i % 8 is played."""

    def __init__(self, options: argparse.Namespace, i: int) -> None:
        self.gaps = 0
        self.longest_lag = 0.0
        self.player = quorvid.Player(
            (options.host, options.port), device=options.device, channel=i % 8,
            format=options.format, every=options.every)
        self.thread = threading.Thread(target=self.read)
        self.thread.start()

    def read(self) -> None:
        last = 0
        for picture in self.player:
            picture.array[-1, -1]  # made, and looked at
            self.gaps += picture.number != last + 1
            last = picture.number
            self.longest_lag = max(self.longest_lag, time.monotonic() - picture.arrival)

    def stop(self) -> quorvid.Figures:
        figures = self.player.figures
        self.player.stop()
        self.thread.join()
        return figures


def main() -> int:
    parser = argparse.ArgumentParser(description="Measures players of the Python package.")
    parser.add_argument("host")
    parser.add_argument("port", type=int)
    parser.add_argument("--device", default="TRUCK-7")
    parser.add_argument("--players", type=int, default=1)
    parser.add_argument("--seconds", type=float, default=20)
    parser.add_argument("--format", type=quorvid.Format, default=quorvid.Format.GREY,
                        help="each picture is read as grey (the default), i420, nv12 or rgb")
    parser.add_argument("--every", action="store_true", help="each picture, not the newest")
    options = parser.parse_args()

    readers = [Reader(options, i) for i in range(options.players)]
    time.sleep(1)  # what counts for the costs begins after it
    used, before = time.process_time(), sum(r.player.figures.decoded for r in readers)
    time.sleep(options.seconds)
    spent = time.process_time() - used
    decoded = sum(r.player.figures.decoded for r in readers) - before
    ends = [reader.stop() for reader in readers]
    if decoded == 0:
        print("python_load: no picture came", file=sys.stderr)
        return 1
    names = ["received", "shown", "overwritten", "held", "lost", "reconnections"]
    result = {name: sum(getattr(figures, name) for figures in ends) for name in names}
    result["gaps"] = sum(reader.gaps for reader in readers)
    result["longestLagMs"] = 1e3 * max(reader.longest_lag for reader in readers)
    result["processorMs"] = 1e3 * spent / decoded
    print(json.dumps(result))
    return int(options.every and result["lost"] + result["held"] + result["gaps"] > 0)


if __name__ == "__main__":
    sys.exit(main())
