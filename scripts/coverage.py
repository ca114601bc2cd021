#!/usr/bin/env python3
"""Says which lines of the code that reads a server's bytes were reached: coverage.py REASONS LCOV...

Each LCOV file is one run, named after it: the tests, or a fuzzer's inputs. REASONS says of lines that none
of them can reach: FILE | what stands there, or its beginning | why. It holds for the unreached lines right behind
that one, too. Fails when an unreached line has no reason.
"""
import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
# What receives frames in the live layer; the rest of it shows pictures.
FEED = ("Frame", "FrameGate", "FrameQueue", "LiveSession", "SessionReceiving", "StallWatch", "StreamDecoder")
ROOMS = {
    "connection/": lambda path: path.startswith("connection/"),
    "h264/": lambda path: path.startswith("h264/"),
    "decoder/": lambda path: path.startswith("decoder/"),
    "port/av/": lambda path: path.startswith("port/av/"),
    "live/ (its feed)": lambda path: path.startswith("live/") and path[5:].rsplit(".")[0] in FEED,
    "probe": lambda path: path.startswith("apps/quorvid/probe/"),
    "recorder": lambda path: path.startswith("apps/quorvid/record/"),
    "texts": lambda path: path.startswith("apps/quorvid/query/DeviceTable")
                          or path.startswith(("apps/common/Terminal", "apps/common/Json")),
}


def room_of(path):
    return next((room for room, holds in ROOMS.items() if holds(path)), None)


def read(name):
    """(path, line) of each line with code in the rooms, and whether it was reached."""
    lines, path = {}, None
    for line in pathlib.Path(name).read_text().splitlines():
        if line.startswith("SF:"):
            file = pathlib.Path(line[3:])
            path = str(file.relative_to(ROOT)) if file.is_relative_to(ROOT) else ""
            path = path if room_of(path) else None
        elif path and line.startswith("DA:"):
            number, count = line[3:].split(",")[:2]
            lines[path, int(number)] = int(count) > 0 or lines.get((path, int(number)), False)
    return lines


def share(lines, room):
    reached = [is_reached for (path, _), is_reached in lines.items() if room_of(path) == room]
    return f"{100 * sum(reached) / len(reached):.1f}" if reached else "-"


def goes_on(source, lines, path, before, number):
    """Whether nothing but comments lies between the two lines."""
    return all((path, between) not in lines and source[between - 1].strip() for between in range(before + 1, number))


def unreached(lines, reasons):
    """Prints the first line of each run of them, whose reason holds for all; how many have no reason."""
    known = [[part.strip() for part in line.split("|", 2)] for line in reasons.read_text().splitlines()
             if line.count("|") > 1 and not line.startswith("#")]
    strange, last, why = 0, ("", 0), None
    for path, number in sorted(place for place, is_reached in lines.items() if not is_reached):
        source = (ROOT / path).read_text().splitlines()
        text = source[number - 1].strip()
        reason = next((why for file, start, why in known if file == path and text.startswith(start)), None)
        if last[0] != path or not goes_on(source, lines, path, last[1], number):
            why = reason
            print(f"{path}:{number}: {text[:60]:60} {why or 'NO REASON'}")
        strange += why is None
        last = path, number
    return strange


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    runs = {pathlib.Path(name).stem: read(name) for name in sys.argv[2:]}
    together = {"all": {}, "fuzzers": {}}
    for name, lines in runs.items():
        for place, is_reached in lines.items():
            for sum_of in ("all",) if name == "tests" else together:
                together[sum_of][place] = is_reached or together[sum_of].get(place, False)
    runs = together | {name: runs[name] for name in sorted(runs, key=lambda name: (name != "tests", name))}
    print(f"{'% of the lines with code':24}{'lines':>7}" + "".join(f"{name:>13}" for name in runs))
    for room in ROOMS:
        count = sum(room_of(path) == room for path, _ in runs["all"])
        print(f"{room:24}{count:7}" + "".join(f"{share(lines, room):>13}" for lines in runs.values()))
    reached = (sum(lines.values()) for lines in runs.values())
    print(f"{'lines reached':24}{len(runs['all']):7}" + "".join(f"{count:>13}" for count in reached))
    print()
    strange = unreached(runs["all"], pathlib.Path(sys.argv[1]))
    if strange > 0:
        sys.exit(f"coverage: {strange} unreached lines have no reason in fuzz/unreached.txt")


if __name__ == "__main__":
    main()
