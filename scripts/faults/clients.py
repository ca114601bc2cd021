"""The clients: which service each asks, how it is started, and how much it says that it received."""

import os
import re
import sys
from dataclasses import dataclass
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("BUILD", ROOT / "build")).resolve()
BENCH = BUILD / "bench"
# Debian's own goes first: its numpy is the one that scripts/packages.sh names.
PYTHON = "/usr/bin/python3" if os.access("/usr/bin/python3", os.X_OK) else sys.executable


@dataclass(frozen=True)
class Client:
    name: str
    service: str  # the simulator's
    command: str  # words, of which {host}, {port}, {n} and {file} are filled in
    received: str  # pattern whose groups are numbers: their sum; without a group each match is one
    many: int = 1  # sessions that one run can have at most
    takes_long: bool = False  # to start and to end

    def words(self, host: str, port: int, sessions: int, file: str) -> list[str]:
        places = {"host": host, "port": port, "n": sessions, "file": file}
        return [word.format(**places) for word in self._repeated(sessions).split()]

    def _repeated(self, sessions: int) -> str:
        """What stands between two % stands there once for each session."""
        before, repeated, after = (self.command.split("%") + ["", ""])[:3]
        return before + "".join(repeated.replace("{i}", str(i)) for i in range(sessions)) + after

    def count(self, output: str) -> int:
        found = re.findall(self.received, output, re.MULTILINE)
        return sum(int(number) if number.isdigit() else 1 for number in found)


def _worker(kind: str, service: str, many: int = 64) -> Client:
    return Client(f"worker.{kind}", service, f"{BENCH}/fault_workers {kind} {{host}} {{port}} {{n}}",
                  r"^received (\d+)", many)


_QUORVID = f"{BUILD}/quorvid"
_STREAM = "{host}:{port} --device BUS-1"
_DRIVER = r"^received (\d+)"

CLIENTS = {client.name: client for client in [
    _worker("fleet", "fleet"),
    _worker("car", "car"),
    _worker("relay", "relay"),
    _worker("list", "list"),
    _worker("gps", "list", 1),
    Client("live.fleet", "fleet", f"{BENCH}/fault_views fleet {{host}} {{port}} {{n}}", _DRIVER, 32, True),
    Client("live.car", "car", f"{BENCH}/fault_views car {{host}} {{port}} {{n}}", _DRIVER, 32, True),
    Client("live.relay", "relay", f"{BENCH}/fault_views relay {{host}} {{port}} {{n}}", _DRIVER, 32, True),
    Client("quorvid.view", "fleet",
           f"{_QUORVID} view {{host}}:{{port}} %--device BUS-{{i}} %--headless --size 320x240 --verbose "
           "--json", r'^  "pictures": (\d+)', 16, True),
    Client("quorvid.list", "list", f"{_QUORVID} list {{host}}:{{port}} --account a --json",
           r'"index": ?(\d+)'),
    Client("quorvid.gps", "list", f"{_QUORVID} gps {{host}}:{{port}} --account a --json", r'^\{"poll"'),
    Client("quorvid.record", "fleet", f"{_QUORVID} record {_STREAM} -o {{file}} --json --stats",
           r'^\{"server".*"frames":(\d+)'),
    Client("quorvid.probe", "fleet", f"{_QUORVID} probe {_STREAM} --seconds 1000", r"frames +(\d+)"),
    Client("c.pictures", "fleet", f"{BENCH}/fault_players pictures {{host}} {{port}} {{n}}", _DRIVER, 64),
    Client("c.frames", "fleet", f"{BENCH}/fault_players frames {{host}} {{port}} {{n}}", _DRIVER, 64),
    Client("python", "fleet", f"{PYTHON} {ROOT}/scripts/faults/player.py {{host}}:{{port}} {{n}}",
           _DRIVER, 64),
    Client("gstreamer", "fleet",
           "gst-launch-1.0 -m -v % quorvidsrc server={host}:{port} device=BUS-1 ! fakesink silent=false sync=false %",
           r"(chain) +\*", 64, True),
]}


def environment() -> dict[str, str]:
    return os.environ | {
        "PYTHONPATH": str(ROOT / "python"),
        "PYTHONDONTWRITEBYTECODE": "1",
        "QUORVID_LIBRARY_DIR": str(BUILD),
        "GST_PLUGIN_PATH": str(BUILD / "gstreamer-1.0"),
        "GST_REGISTRY": str(BUILD / "faults" / "gst-registry.bin"),
        "LC_ALL": "C.UTF-8",
    }
