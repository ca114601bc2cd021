"""Two network namespaces with a link between them, each ended with its block."""
import contextlib
import os
import subprocess
import threading
import time

SERVER, CLIENT, DEVICE = "10.77.0.1", "10.77.0.2", "quorvid0"
DEVICE_ID = "TRUCK-7"


class Missing(Exception):
    """A sentence on what is not there."""


class Namespace:
    """A network of its own. It lasts as long as a process that waits for the end of its input."""

    def __init__(self, stack):
        self._keeper = stack.enter_context(subprocess.Popen(["unshare", "-n", "cat"],
                                                            stdin=subprocess.PIPE))
        stack.callback(self._keeper.stdin.close)
        self.file = f"/proc/{self._keeper.pid}/ns/net"
        mine = os.readlink("/proc/self/ns/net")
        for _ in range(500):
            if self._keeper.poll() is not None:
                break
            if os.readlink(self.file) != mine:
                return
            time.sleep(0.01)
        raise Missing("no network namespace can be made")

    def inside(self, command):
        return ["nsenter", f"--net={self.file}", *command]

    def ip(self, words):
        subprocess.run(self.inside(["ip", *words.split()]), check=True)

    def join(self, address):
        self.ip(f"address add {address}/24 dev {DEVICE}")
        self.ip(f"link set {DEVICE} up")


class Surroundings:
    """A simulator on one side of a bad link, and the other side for a viewer."""

    def __init__(self, stack, build, arguments, seed, log):
        self._stack, self._log, self.failures = stack, log, []
        self.server, self.client = Namespace(stack), Namespace(stack)
        self._link = self._start([build + "/bad_link", self.server.file, self.client.file,
                                  str(seed)], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        if self._link.stdout.readline() != "ready\n":
            raise Missing("the link can't be made: " + _end_of(log.name))
        self.server.join(SERVER)
        self.client.join(CLIENT)
        # What most servers have, whatever this machine's own setting is.
        self.server.ip(f"route change 10.77.0.0/24 dev {DEVICE} congctl cubic")
        simulator = self._start(self.server.inside([build + "/quorvid-sim", "--live", "--bind",
                                                    SERVER, *arguments]), stdout=subprocess.PIPE)
        lines = [simulator.stdout.readline().split() for _ in range(4)]
        if not all(lines):
            raise Missing("the simulator does not start: " + _end_of(log.name))
        self.ports = {name: int(port) for name, port in lines}
        self._wait_for_stream(build)

    def _wait_for_stream(self, build):
        """What is played is drawn and encoded for the first who asks: one on the server's side."""
        self.server.ip("link set lo up")
        subprocess.run(self.server.inside([build + "/quorvid", "probe",
                                           f"{SERVER}:{self.ports['fleet']}", "--device", DEVICE_ID,
                                           "--seconds", "1"]),
                       check=False, stdout=self._log, stderr=self._log)

    def _start(self, command, **pipes):
        # What was started last is ended first: the block ends each before it waits for it.
        process = self._stack.enter_context(subprocess.Popen(command, stderr=self._log, text=True,
                                                             **pipes))
        self._stack.callback(process.terminate)
        return process

    def order(self, text):
        if text.startswith("client: "):
            return self.client.ip(text.removeprefix("client: "))
        self._link.stdin.write(text + "\n")
        self._link.stdin.flush()
        return None

    def order_later(self, events):
        """Each at its time from now on; returns at once."""
        for seconds, text in events:
            timer = threading.Timer(seconds, self._try, [text])
            timer.start()
            self._stack.callback(timer.cancel)

    def _try(self, text):
        try:
            self.order(text)
        except (OSError, subprocess.SubprocessError) as error:
            self.failures.append(f"{text}: {error}")

    def start_viewer(self, command):
        return self._start(self.client.inside(command), stdout=subprocess.PIPE)


def _end_of(path):
    with open(path, encoding="utf-8", errors="replace") as file:
        return file.read().strip()[-400:] or "no word of why"


@contextlib.contextmanager
def surroundings(build, arguments, seed, log_path):
    with open(log_path, "w", encoding="utf-8") as log, contextlib.ExitStack() as stack:
        yield Surroundings(stack, build, arguments, seed, log)
