"""One run of bench/faults/refused.c: what was refused, and what came of it."""

import os
import re
import subprocess
from collections import Counter
from dataclasses import dataclass, field
from functools import cache
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("BUILD", ROOT / "build")).resolve()
KINDS = ["memory", "mapping", "system", "threads", "libraries", "egl", "gl", "codec"]
# Never given back: a block for each start, and what the log remembers of each kind of message.
LASTING = {"allocateSpareBuf", "logState", "logMessage"}
LONGEST = 45  # seconds: each of the two times ends by itself after 14


@dataclass
class Run:
    who: str
    kind: str
    at: int
    status: int = 0
    output: str = ""
    refused: str = ""
    told: list[str] = field(default_factory=list)  # the first time
    received: list[int] = field(default_factory=list)  # each time
    counts: dict[str, int] = field(default_factory=dict)
    rest: Counter[str] = field(default_factory=Counter)  # threads, descriptors, blocks of memory by place


def play(who: str, kind: str, at: int, port: int, rest: Counter[str], trace: bool = False) -> Run:
    """rest: the threads and descriptors that are waited for at the end."""
    run = Run(who, kind, at)
    environment = os.environ | {"LD_PRELOAD": str(BUILD / "libfault_refuse.so"), "REFUSE_KIND": kind,
                                "REFUSE_AT": str(at), "LC_ALL": "C.UTF-8"} | ({"REFUSE_TRACE": "1"} if trace else {})
    words = [str(BUILD / "bench" / "fault_refused"), who, "127.0.0.1", str(port), str(rest["threads"]),
             str(rest["descriptors"])]
    try:
        done = subprocess.run(words, env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              errors="replace", timeout=LONGEST, check=False)
        run.status, run.output = done.returncode, done.stdout
    except subprocess.TimeoutExpired as late:
        run.status = -1000
        run.output = late.stdout.decode(errors="replace") if isinstance(late.stdout, bytes) else late.stdout or ""
    for line in run.output.splitlines():
        _read(run, line)
    return run


@cache
def _function(place: str) -> str:
    """LIBRARY+OFFSET, of which the one is the place behind a call."""
    library, offset = place.rsplit("+", 1)
    words = ["addr2line", "-Cfe", library, f"{int(offset, 16) - 1:#x}"]
    name = subprocess.run(words, capture_output=True, text=True, check=False).stdout.split("\n")[0]
    return re.sub(r"quorvid::|\(anonymous namespace\)::|\[abi:\w+\]|\(.*", "", name) or place


def _read(run: Run, line: str) -> None:
    words = line.split()
    if found := re.fullmatch(r"told (.*?) \(.*", line):
        if not run.received:
            run.told.append(found[1])
    elif re.fullmatch(r"(first|second) \d+ [\d.]+", line):
        run.received.append(int(words[1]))
    elif line.startswith("refusing "):
        run.refused = line.removeprefix("refusing ")
    elif re.fullmatch(r"(threads|descriptors) \d+", line):
        run.rest[words[0]] = int(words[1])
    elif re.fullmatch(r"count \w+ \d+", line):
        run.counts[words[1]] = int(words[2])
    elif re.fullmatch(r"left (codec|egl) -?\d+", line):
        run.rest[words[1]] = int(words[2])
    elif re.fullmatch(r"left \S+ \d+", line):
        if (place := _function(words[1])) not in LASTING:
            run.rest[f"{words[2]} bytes of {place}"] += 1


def wrong(run: Run, base: Counter[str]) -> str:
    """What is not as it should be; empty: all is."""
    if run.status == -1000:
        return "hangs"
    if run.status < 0:
        return f"crashes by signal {-run.status}"
    if run.status > 0 or len(run.received) != 2:
        return f"ends with status {run.status}"
    if run.refused and not run.told and run.received[0] == 0:
        return "says nothing"
    if run.received[1] == 0:
        return "does not play again"
    more = [f"{count - base[what]} {what}" for what, count in run.rest.items() if count > base[what]]
    return "leaves " + ", ".join(more) if more else ""
