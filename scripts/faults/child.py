"""A client as a child: what it prints, the most memory that it had, how it ended."""

import os
import re
import signal
import subprocess
import threading
import time

SANITIZER = re.compile(r"ERROR: \w+Sanitizer|runtime error:|WARNING: ThreadSanitizer")
STOP_TIME = 15  # seconds to end after SIGINT, on a busy machine


class Child:
    def __init__(self, words: list[str], environment: dict[str, str]) -> None:
        self._begin = time.monotonic()
        self._process = subprocess.Popen(words, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                         stderr=subprocess.STDOUT, env=environment, start_new_session=True)
        self._lines: list[str] = []
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()
        self.peak = 0  # KiB
        self.hangs = False

    def _read(self) -> None:
        assert self._process.stdout is not None
        for line in self._process.stdout:  # GStreamer writes a space as "\ "
            self._lines.append(line.decode("utf-8", "replace").replace("\\", ""))

    def seconds(self) -> float:
        return time.monotonic() - self._begin

    def has_ended(self) -> bool:
        """Also looks at the memory; the last look is at most a turn old when it ends."""
        try:
            with open(f"/proc/{self._process.pid}/status", encoding="ascii") as status:
                found = re.search(r"VmHWM:\s+(\d+)", status.read())
            self.peak = max(self.peak, int(found[1]) if found else 0)
        except OSError:
            pass
        return self._process.poll() is not None

    def stop(self) -> None:
        """By SIGINT, or by force where that does not help."""
        end = time.monotonic() + STOP_TIME
        if not self.has_ended():
            os.kill(self._process.pid, signal.SIGINT)
        while not self.has_ended() and time.monotonic() < end:
            time.sleep(0.02)
        self.hangs = not self.has_ended()
        if self.hangs:
            self._process.kill()
        self._process.wait()
        self._reader.join(5)

    @property
    def status(self) -> int:
        return self._process.returncode

    @property
    def output(self) -> str:
        return "".join(list(self._lines))
