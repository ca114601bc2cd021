"""Plays a simulator over bad links and holds what the viewer says of itself against what is expected;
see scripts/bad-network.sh."""
import argparse
import concurrent.futures
import json
import os
import signal
import sys
import time

import cases
from surroundings import DEVICE_ID, SERVER, Missing, surroundings

RATE = 10
STREAM = ("--fps", str(RATE), "--gop", str(RATE))
AT_LEAST = ("share", "cuts")
HEAD = ("case", "path", "pictures", "first s", "freeze s", "lag s", "age s", "back s", "cuts",
        "verdict")
ROW = "{:12}{:7}{:>8}{:>9}{:>9}{:>8}{:>8}{:>8}{:>6}  {}"


class Watch:
    """What the viewer's lines say, in its own time."""

    def __init__(self):
        self.begin = None   # of the first line with a picture
        self.still = None   # when the longest pause between pictures began
        self.lag = 0
        self.states = []
        self.tile = {}
        self._frames = []   # received so far, and when that was read

    def take(self, line):
        """True for the first line with a picture."""
        self.tile = tile = line["tiles"][0]
        self._frames.append((tile["received"], time.monotonic_ns()))
        self.lag = max(self.lag, tile["lag_seconds"] or 0)
        told = f"{tile['state']} ({tile['reason_code']})"
        if not self.states or self.states[-1] != told:
            self.states.append(told)
        if tile["pictures"] == 0:
            return False
        # The longest so far is the one under way: the next line tells how long it became.
        if tile["silent_seconds"] >= tile["longest_pause_between_pictures_seconds"] > 0:
            self.still = line["seconds"] - tile["silent_seconds"]
        is_first, self.begin = self.begin is None, self.begin or line["seconds"]
        return is_first

    def back(self, fault_ends):
        """Seconds from there to the first picture after the longest pause."""
        if None in (fault_ends, self.still) or self.tile["silent_seconds"] > 1:
            return None
        pause = self.tile["longest_pause_between_pictures_seconds"]
        return max(0, self.still + pause - self.begin - fault_ends)

    def age(self, send_log):
        """The most seconds that a frame took from the server's hands to the viewer, at the moments
        of the lines. None when there was more than one connection: nobody knows which is which."""
        with open(send_log, encoding="utf-8") as file:
            words = [line.split() for line in file]
        client = [w[2] for w in words if w[1] == "accepted"][-1]  # before it the stream was tried
        sent = [int(w[0]) for w in words if w[1] == "picture" and w[2] == client]
        ages = [(read - sent[count - 1]) / 1e9 for count, read in self._frames
                if 0 < count <= len(sent)]
        return max(ages, default=None)


def figures_of(watch, case, status, send_log):
    tile = watch.tile
    shown, first = tile.get("pictures", 0), tile.get("first_picture_seconds")
    cuts = tile.get("restarts", 0) + tile.get("reconnections", 0)
    figures = {"pictures": shown, "first": first, "lag": watch.lag, "cuts": cuts,
               "freeze": None if first is None else tile["longest_pause_between_pictures_seconds"],
               "age": None if cuts else watch.age(send_log), "back": watch.back(case.fault_ends),
               "states": watch.states, "status": status}
    figures["share"] = 0 if first is None else min(1, shown / RATE / (case.seconds - first))
    return figures


def broken(expected, figures):
    """A sentence for each expectation that is not held."""
    found = [] if figures["status"] == 0 else [f"exit status {figures['status']}"]
    for name, bound in expected.items():
        value = figures[name]
        if value is None:
            found.append(f"{name}: never")
        elif value < bound if name in AT_LEAST else value > bound:
            found.append(f"{name} {value:.3g}, expected {bound}")
    return found


def play(case, path, options):
    log = os.path.join(options.out, f"{case.name}-{path}.log")
    arguments = [*STREAM, *case.stream, "--send-log", log + ".sent"]
    with surroundings(options.build, arguments, options.seed, log) as around:
        for order in case.link:
            around.order(order)
        command = [options.build + "/quorvid", "view", f"{SERVER}:{around.ports[path]}", "--path",
                   path, "--device", DEVICE_ID, "--headless", "--json", "--stats", "--no-text",
                   "--seconds", str(case.seconds), *case.viewer]
        viewer = around.start_viewer(command)
        watch = Watch()
        with open(log + ".json", "w", encoding="utf-8") as kept:
            for line in viewer.stdout:
                kept.write(line)
                if watch.take(json.loads(line)):
                    around.order_later(case.events)
        figures = figures_of(watch, case, viewer.wait(), log + ".sent")
        if around.failures:
            raise Missing("; ".join(around.failures))
    return dict(figures, case=case.name, path=path, broken=broken(case.expected, figures))


def row_of(figures):
    def brief(name):
        return "-" if figures[name] is None else f"{figures[name]:.1f}"
    verdict = "; ".join(figures["broken"]) or "ok"
    numbers = [brief(name) for name in ("first", "freeze", "age", "back")]
    return ROW.format(figures["case"], figures["path"], figures["pictures"], numbers[0], numbers[1],
                      f"{figures['lag']:.2f}", *numbers[2:], figures["cuts"], verdict)


def parse():
    parser = argparse.ArgumentParser(prog="scripts/bad-network.sh")
    parser.add_argument("--short", action="store_true")
    parser.add_argument("--jobs", type=int, default=3)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--build", required=True)
    parser.add_argument("--out", required=True)
    parser.add_argument("case", nargs="*")
    options = parser.parse_args()
    known = {case.name: case for case in cases.ALL}
    unknown = [name for name in options.case if name not in known]
    if unknown:
        parser.error(f"there is no case {unknown[0]}; there are {', '.join(known)}")
    if options.short:
        chosen = [(case, "fleet") for case in cases.ALL if case.short]
    else:
        names = options.case or known
        chosen = [(known[name], path) for name in names for path in known[name].paths]
    return options, chosen


def main():
    options, chosen = parse()
    # What was started ends with us, whatever ends us.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("bad-network: ended from outside"))
    os.makedirs(options.out, exist_ok=True)
    results = []
    print(ROW.format(*HEAD))
    with concurrent.futures.ThreadPoolExecutor(max(options.jobs, 1)) as pool:
        for figures in pool.map(lambda pair: play(*pair, options), chosen):
            print(row_of(figures), flush=True)
            results.append(figures)
    with open(os.path.join(options.out, "bad-network.json"), "w", encoding="utf-8") as file:
        json.dump(results, file, indent=1)
    failed = [figures for figures in results if figures["broken"]]
    for figures in failed:
        print(f"{figures['case']} {figures['path']}: {' > '.join(figures['states'])}",
              file=sys.stderr)
    if failed:
        sys.exit(f"bad-network: {len(failed)} of {len(results)} not as expected; logs in {options.out}")


if __name__ == "__main__":
    try:
        main()
    except Missing as sentence:
        sys.exit(f"bad-network: {sentence}")
