"""The bundled simulator as a child, with one fault."""

import json
import re
import subprocess
import threading

from clients import BUILD


class Simulator:
    def __init__(self, options: str) -> None:
        command = [f"{BUILD}/quorvid-sim", "--json", "--size", "96x96", "--bitrate", "50000", "--seconds", "2",
                   "--cache", f"{BUILD}/faults/loops", *options.split()]
        self._process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        assert self._process.stdout is not None and self._process.stderr is not None
        self._connections: dict[str, int] = {}
        self._log = threading.Thread(target=self._read, daemon=True)
        self._log.start()
        line = self._process.stdout.readline()
        if not line:
            raise RuntimeError(f"the simulator does not start with {options}")
        self._ports = json.loads(line)

    def _read(self) -> None:
        assert self._process.stderr is not None
        for line in self._process.stderr:
            found = re.match(r"quorvid-sim: (\w+) #(\d+) ", line)
            if found:
                service, number = found[1], int(found[2])
                self._connections[service] = max(number, self._connections.get(service, 0))

    def __enter__(self) -> "Simulator":
        return self

    def __exit__(self, *_: object) -> None:
        self._process.kill()
        self._process.wait()
        self._log.join()
        for stream in (self._process.stdout, self._process.stderr):
            if stream is not None:
                stream.close()

    def port(self, service: str) -> int:
        return int(self._ports[service])

    def connections(self, service: str) -> int:
        return self._connections.get(service, 0)
