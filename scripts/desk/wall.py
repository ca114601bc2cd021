"""quorvid-desk's wall of nine streams, 704x576 at 25/s, on a screen of its own: what it costs beside `quorvid view`
with the same streams, and how it bears a simulator that goes wrong in each of its ways. See scripts/desk-wall.sh."""

import argparse
import json
import os
import signal
import statistics
import subprocess
import sys
import tempfile
import threading
import time

DEVICES = ("BUS-1", "BUS-2", "TRAM-3")
CAMERAS = 3  # of each
FAULTS = ("flood:fleet", "refuse:fleet:8", "unanswered:fleet", "delay:fleet", "answer:fleet", "bad-kind:fleet", "too-large:fleet",
          "negative:fleet", "length:fleet:0", "length:fleet:131073", "short-header:fleet", "one-byte:fleet",
          "stall:fleet", "close:fleet", "reset:fleet", "random:fleet", "noise:fleet", "damage:fleet", "burst:fleet",
          "lose:fleet", "wrong-tag:list", "count:list", "short-record:list", "reset:list")


class Screen:
    """An X server of one's own."""

    def __init__(self, size="1280x800x24"):
        read, write = os.pipe()
        self.process = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", size, "-nolisten", "tcp"],
                                        pass_fds=[write], stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as answer:
            self.name = ":" + answer.readline().strip()

    def environment(self, home):
        return {**os.environ, "DISPLAY": self.name, "GDK_BACKEND": "x11", "GTK_A11Y": "none", "WAYLAND_DISPLAY": "",
                "GSETTINGS_BACKEND": "memory", "XDG_CONFIG_HOME": home, "XDG_DATA_HOME": home,
                "DBUS_SESSION_BUS_ADDRESS": "disabled:"}


class Simulator:
    """The bundled server, with the same ports at each start."""

    def __init__(self, build, cache):
        self.command = [f"{build}/quorvid-sim", "--json", "--size", "704x576", "--live", "--cache", cache,
                        "--devices", ",".join(DEVICES)]
        self.ports = None
        self.start()

    def start(self, *options):
        ports = [] if self.ports is None else ["--port", str(self.ports["fleet"]),
                                               "--list-port", str(self.ports["list"])]
        for _ in range(30):  # somebody else's connection may have the port for a moment
            self.process = subprocess.Popen([*self.command, *ports, *options], stdout=subprocess.PIPE,
                                            stderr=subprocess.DEVNULL, text=True)
            line = self.process.stdout.readline()
            if line:
                self.ports = json.loads(line)
                return
            self.process.wait()
            time.sleep(1)
        sys.exit(f"no simulator with {' '.join(options)}")

    def stop(self):
        self.process.send_signal(signal.SIGINT)
        self.process.wait()


class Program:
    """A viewer that prints a line of JSON each second."""

    def __init__(self, command, environment):
        self.lines = []
        self.started = time.monotonic()
        self.process = subprocess.Popen(command, env=environment, stdout=subprocess.PIPE, text=True)
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()

    def read(self):
        for line in self.process.stdout:
            self.lines.append(json.loads(line))

    def tiles(self):
        return self.lines[-1]["tiles"] if self.lines else []

    def processor_seconds(self):
        with open(f"/proc/{self.process.pid}/stat", encoding="ascii") as file:
            fields = file.read().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def resident_mb(self):
        with open(f"/proc/{self.process.pid}/smaps_rollup", encoding="ascii") as file:
            return next(int(line.split()[1]) for line in file if line.startswith("Rss:")) / 1024

    def wait_tiles(self, count, seconds):
        """Seconds until so many tiles are live; None where they are not in time, or the program ended."""
        start = time.monotonic()
        while time.monotonic() - start < seconds and self.process.poll() is None:
            if sum(tile["state"] == "live" for tile in self.tiles()) >= count:
                return time.monotonic() - start
            time.sleep(0.2)
        return None

    def wait_live(self, seconds):
        return self.wait_tiles(len(DEVICES) * CAMERAS, seconds)

    def stop(self, seconds=30):
        self.process.send_signal(signal.SIGTERM)
        return self.process.wait(seconds)


def desk(options, simulator, screen, home, instead=None):
    cameras = [(device, channel) for device in DEVICES for channel in range(CAMERAS)]
    tiles = ";".join(f"{channel}/{(instead or {}).get((device, channel), device)}" for device, channel in cameras)
    settings = f"{home}/desk.ini"
    with open(settings, "w", encoding="utf-8") as file:
        file.write(f"[program]\nserver=S\n[server S]\nname=City Depot\nhost=127.0.0.1\npath=fleet\n"
                   f"list-port={simulator.ports['list']}\nvideo-port={simulator.ports['fleet']}\n"
                   f"[layout S]\ncolumns=3\ntiles={tiles};\n")
    return Program([f"{options.build}/quorvid-desk", "--settings", settings, "--stats"], screen.environment(home))


def view(options, simulator, screen, home):
    """In a window as large as the wall of quorvid-desk is in its own."""
    devices = [word for device in DEVICES for word in ("--device", device)]
    return Program([f"{options.build}/quorvid", "view", f"127.0.0.1:{simulator.ports['fleet']}", *devices, "--channel",
                    "0,1,2", "--size", "838x668", "--stats"], screen.environment(home))


def measure(options, make, simulator, home):
    """One run: its figures, without what the X server takes for it."""
    screen = Screen()
    program = make(options, simulator, screen, home)
    if program.wait_live(60) is None:
        sys.exit("the wall did not come to life")
    time.sleep(3)
    before, from_line = program.processor_seconds(), len(program.lines)
    time.sleep(options.seconds)
    spent = (program.processor_seconds() - before) / options.seconds
    # From line to line: how many of them fall into the time is not always the same.
    first, last = program.lines[from_line - 1], program.lines[-1]
    shown = [sum(pictures(tile) for tile in line["tiles"]) for line in (first, last)]
    came = (shown[1] - shown[0]) / (last["seconds"] - first["seconds"])
    result = {"ms/s": 1000 * spent, "MB": program.resident_mb(), "pictures/s": came,
              "first": min(first_picture(tile) for tile in program.tiles())}
    if make is desk:
        result["list"] = program.lines[-1]["list_shown"]
        result["gap"] = max(line["longest_gap_ms"] for line in program.lines[from_line:])
    program.stop()
    screen.process.kill()
    return result


def pictures(tile):
    return tile["shown"]


def first_picture(tile):
    return tile.get("first_picture", tile.get("first_picture_seconds"))


def costs(options, simulator, home):
    runs = {"quorvid-desk": [], "quorvid view": []}
    for _ in range(options.rounds):
        runs["quorvid-desk"].append(measure(options, desk, simulator, home))
        runs["quorvid view"].append(measure(options, view, simulator, home))
    middle = {name: {key: statistics.median(run[key] for run in each) for key in each[0]}
              for name, each in runs.items()}
    for name, figures in middle.items():
        print(f"{name}: " + ", ".join(f"{key} {value:.3g}" for key, value in figures.items()))
    ours, theirs = middle["quorvid-desk"], middle["quorvid view"]
    each = ours["ms/s"] / ours["pictures/s"] / (theirs["ms/s"] / theirs["pictures/s"])
    print(f"processor time a picture {each:.2f} x, memory {ours['MB'] / theirs['MB']:.2f} x, "
          f"longest gap {ours['gap']:.0f} ms")
    return 0


def faults(options, simulator, home):
    """Each fault for a while, and behind it a server in order: every tile must live again."""
    screen = Screen()
    program = desk(options, simulator, screen, home)
    wrong = 0 if program.wait_live(60 * options.patience) is not None else 1
    memory = []
    for fault in FAULTS[:: 6 if options.short else 1]:
        simulator.stop()
        simulator.start("--fault", fault)
        time.sleep(options.seconds)
        states = sorted({tile["state"] for tile in program.tiles()})
        simulator.stop()
        simulator.start()
        back = program.wait_live(75 * options.patience)
        if program.process.poll() is not None:
            print(f"{fault}: the program ended with {program.process.returncode}")
            return 1
        memory.append(program.resident_mb())
        wrong += back is None
        print(f"{fault:24} {', '.join(states):44} "
              f"{'STUCK' if back is None else f'live after {back:4.1f} s'}  {memory[-1]:.0f} MB", flush=True)
    grown = max(memory[-5:]) / max(memory[: max(1, len(memory) // 5)])
    status = program.stop(30 * options.patience)
    screen.process.kill()
    print(f"{wrong} stuck, memory {grown:.2f} x the first fifth's, exit status {status}")
    return 1 if wrong or status != 0 or grown > options.growth else 0


def grab(screen, file, edge):
    """The screen without the window's edge, which is a shadow where nothing mixes windows."""
    subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "x11grab", "-draw_mouse", "0", "-i", screen.name, "-frames:v", "1", "-vf",
                    f"crop=iw-{2 * edge}:ih-{2 * edge}", file], check=True, env={**os.environ, "DISPLAY": screen.name})


def press(screen, *words):
    subprocess.run(["xdotool", *words], check=True, env={**os.environ, "DISPLAY": screen.name})
    time.sleep(1.5)


def pictures_of(options, simulator, home):
    """For the documentation: the wall with two cameras that are gone, and a phone's list and cameras."""
    gone = {("BUS-2", 0): "VAN-9", ("TRAM-3", 2): "VAN-9"}
    screen = Screen("1180x720x24")
    program = desk(options, simulator, screen, home, gone)
    program.wait_tiles(len(DEVICES) * CAMERAS - len(gone), 60)
    time.sleep(3)
    grab(screen, f"{options.folder}/desk-wall.png", 4)
    program.stop()
    screen.process.kill()
    screen = Screen("360x720x24")
    program = desk(options, simulator, screen, home)
    time.sleep(4)
    grab(screen, f"{home}/list.png", 4)
    press(screen, "mousemove", "100", "150", "click", "1")
    program.wait_tiles(3, 60)
    time.sleep(3)
    grab(screen, f"{home}/cameras.png", 4)
    press(screen, "mousemove", "180", "180", "click", "--repeat", "2", "--delay", "80", "1")
    time.sleep(2)
    grab(screen, f"{home}/one.png", 4)
    program.stop()
    screen.process.kill()
    parts = [word for name in ("list", "cameras", "one") for word in ("-i", f"{home}/{name}.png")]
    subprocess.run(["ffmpeg", "-v", "error", "-y", *parts, "-filter_complex",
                    "[0]pad=iw+12:ih:0:0:white[a];[1]pad=iw+12:ih:0:0:white[b];[a][b][2]hstack=3",
                    f"{options.folder}/desk-phone.png"], check=True)
    return 0


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("what", choices=("costs", "faults", "pictures"))
    parser.add_argument("--folder", default="docs/pictures")
    parser.add_argument("--build", default="build")
    parser.add_argument("--seconds", type=float, default=15)
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--short", action="store_true")
    parser.add_argument("--patience", type=float, default=1, help="so many times as long for what is waited for")
    parser.add_argument("--growth", type=float, default=1.1, help="so many times the memory at most")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as home:
        simulator = Simulator(options.build, f"{home}/cache")
        try:
            return {"costs": costs, "faults": faults, "pictures": pictures_of}[options.what](options, simulator, home)
        finally:
            simulator.process.kill()


if __name__ == "__main__":
    sys.exit(main())
