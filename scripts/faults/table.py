"""The table of what is expected, one line for one or more cells. See the head of expected.tsv."""

import re
from dataclasses import dataclass
from fnmatch import fnmatchcase
from pathlib import Path

from clients import CLIENTS, Client
from troubles import TROUBLES, Trouble, exists

TABLE = Path(__file__).with_name("expected.tsv")
OUTCOME = re.compile(r"ends \d+|goes on|waits|reconnects")


@dataclass(frozen=True)
class Cell:
    client: Client
    trouble: Trouble
    outcomes: tuple[str, ...]  # one of them; empty: left out
    says: str  # a pattern in what it prints, or why the cell is left out
    seconds: float
    short: bool

    @property
    def name(self) -> str:
        return f"{self.client.name} {self.trouble.name}"


def _matching(patterns: str, names: dict) -> list[str]:
    found = []
    for pattern in patterns.split(","):
        some = [name for name in names if fnmatchcase(name, pattern)]
        if not some:
            raise ValueError(f"expected.tsv: nothing is called {pattern}")
        found += some
    return found


def _cells_of(line: str) -> list[Cell]:
    clients, troubles, outcome, says, seconds, short = line.split("\t")
    outcomes = () if outcome == "-" else tuple(outcome.split("/"))
    if not all(OUTCOME.fullmatch(one) for one in outcomes):
        raise ValueError(f"expected.tsv: {line}")
    says = "" if says == "-" else says
    return [Cell(CLIENTS[client], TROUBLES[trouble], outcomes, says, float(seconds),
                 any(fnmatchcase(client, pattern) for pattern in short.split(",")))
            for client in _matching(clients, CLIENTS) for trouble in _matching(troubles, TROUBLES)
            if exists(trouble, CLIENTS[client].service)]


def read() -> list[Cell]:
    """Every cell of the matrix once; a cell that is named twice or not at all is an error."""
    cells: dict[str, Cell] = {}
    for line in TABLE.read_text(encoding="utf-8").splitlines():
        if not line or line.startswith("#"):
            continue
        for cell in _cells_of(line):
            if cell.name in cells:
                raise ValueError(f"expected.tsv has two lines for: {cell.name}")
            cells[cell.name] = cell
    missing = [f"{client.name} {trouble}" for client in CLIENTS.values() for trouble in TROUBLES
               if exists(trouble, client.service) and f"{client.name} {trouble}" not in cells]
    if missing:
        raise ValueError("expected.tsv has no line for: " + ", ".join(missing))
    return list(cells.values())
