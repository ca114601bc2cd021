"""The simulators of a soak as children, each with its trouble."""

import json
import selectors
import subprocess
from pathlib import Path

from troubles import Trouble

START = 60  # seconds for all to encode their loops, on a busy machine


class Simulators:
    """As a block: they end with it. servers: FLEET,CAR,RELAY,LIST,POLLED of each, 0 for what is not to be
    asked for."""

    def __init__(self, programs: Path, loops: Path, troubles: list[Trouble], seed: int) -> None:
        self.processes: list[subprocess.Popen[str]] = []
        self.servers: list[str] = []
        try:
            for number, trouble in enumerate(troubles):
                command = [f"{programs}/quorvid-sim", "--json", "--cache", str(loops), *trouble.words(seed + number)]
                self.processes.append(subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                                       stderr=subprocess.DEVNULL, text=True, start_new_session=True))
            self.servers = [self._server(process, trouble) for process, trouble in zip(self.processes, troubles)]
        except BaseException:
            self.end()
            raise

    @staticmethod
    def _server(process: subprocess.Popen[str], trouble: Trouble) -> str:
        assert process.stdout is not None
        with selectors.DefaultSelector() as ready:
            ready.register(process.stdout, selectors.EVENT_READ)
            line = process.stdout.readline() if ready.select(START) else ""
        if not line:
            raise RuntimeError(f"a simulator does not start: {trouble.options}")
        ports = json.loads(line)
        numbers = [ports["fleet"], ports["car"], ports["relay"] if trouble.relays else 0, ports["list"],
                   ports["list"] if trouble.polls else 0]
        return ",".join(str(number) for number in numbers)

    def have_ended(self) -> list[str]:
        return [" ".join(map(str, process.args)) for process in self.processes if process.poll() is not None]  # type: ignore[arg-type]

    def end(self) -> None:
        for process in self.processes:
            process.kill()
        for process in self.processes:
            process.wait()
            if process.stdout is not None:
                process.stdout.close()

    def __enter__(self) -> "Simulators":
        return self

    def __exit__(self, *_: object) -> None:
        self.end()
