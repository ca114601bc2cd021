"""What the measured programs run in: X servers and simulators, each ended with its block."""
import contextlib
import os
import subprocess
import tempfile
import time


# Encoded streams stay here; another build encodes its own.
CACHE = os.path.join(os.environ.get("XDG_CACHE_HOME") or os.path.expanduser("~/.cache"),
                     "quorvid-bench")


class Missing(Exception):
    """A sentence on what is not there."""


@contextlib.contextmanager
def running(command, **options):
    with subprocess.Popen(command, **options) as process:
        try:
            yield process
        finally:
            process.terminate()


def first_line(path, process, what):
    """The first whole line of a file that the process writes."""
    for _ in range(300):
        with open(path, encoding="utf-8") as file:
            line = file.readline()
        if line.endswith("\n"):
            return line.strip()
        if process.poll() is not None:
            break
        time.sleep(0.1)
    raise Missing(f"{what} does not start")


@contextlib.contextmanager
def screen(size):
    """An X server of that size: its display and its framebuffer's file."""
    with tempfile.TemporaryDirectory() as folder:
        told = os.path.join(folder, "display")
        with open(told, "w", encoding="utf-8") as file:
            command = ["Xvfb", "-displayfd", str(file.fileno()), "-screen", "0", f"{size}x24",
                       "-fbdir", folder, "-nolisten", "tcp"]
            try:
                server = running(command, pass_fds=[file.fileno()], stdout=subprocess.DEVNULL,
                                 stderr=subprocess.DEVNULL)
                with server as process:
                    yield ":" + first_line(told, process, "Xvfb"), folder + "/Xvfb_screen0"
            except FileNotFoundError:
                raise Missing("Xvfb is not there (package xvfb)") from None


@contextlib.contextmanager
def simulator(build, *arguments):
    """Its fleet port and its send log."""
    with tempfile.TemporaryDirectory() as folder:
        ports, log = folder + "/ports", folder + "/send.log"
        with open(ports, "w", encoding="utf-8") as file:
            program = [build + "/quorvid-sim", "--cache", CACHE, "--send-log", log, *arguments]
            with running(program, stdout=file, stderr=subprocess.DEVNULL) as process:
                line = first_line(ports, process, "quorvid-sim")
                yield int(line.split()[1]), log


def output_of(command, display=None, errors=False, seconds=120):
    """Of a program that must succeed: its standard output, or its standard error where the other
    is not its own."""
    environment = dict(os.environ, LC_ALL="C", QUORVID_BENCH_CACHE=CACHE)
    if display:
        environment.update(DISPLAY=display)
        environment.pop("WAYLAND_DISPLAY", None)
    result = subprocess.run(command, env=environment, stdin=subprocess.DEVNULL, text=True,
                            capture_output=True, timeout=seconds, check=False)
    if result.returncode != 0:
        raise Missing(f"{os.path.basename(command[0])} failed: {result.stderr.strip()}")
    return result.stderr if errors else result.stdout
