"""What is measured. Each case is called with the run and gives its rows."""
import json
from collections import defaultdict

from surroundings import output_of, screen, simulator
from table import Row, middle


def latency(run):
    """From the server's first byte to the screen, and what the viewer costs on the way."""
    rows = []
    for size in ("640x480", "1280x960"):
        values = latency_rounds(run, size)
        def row(name, unit, figure, values=values, size=size, **budget):
            rows.append(Row(f"{name}, {size}", unit, values["ours"][figure],
                            values["limit"][figure], **budget))
        row("sent to screen, median", "ms", "median", budget=1.35)
        row("sent to screen, p95", "ms", "p95", budget=1.5)
        row("processor time a picture", "ms", "processorMsPerPicture", budget=1.10)
        row("pictures never seen", "", "neverSeen")
        row("start to connection", "ms", "startToConnectionMs", most=25)
        row("start to first picture", "ms", "startToFirstPictureMs", budget=1.4)
        row("resident memory", "KiB", "residentKiB", budget=1.10)
        row("shared objects", "", "sharedObjects")
    return rows


def latency_rounds(run, size):
    values = {"ours": defaultdict(list), "limit": defaultdict(list)}
    rate = ("--size", "1280x960", "--fps", "30", "--gop", "30")
    with screen(size) as (display, file), simulator(run.build, *rate) as (port, log):
        watch = [run.program("screen_latency"), "--screen", file, "--send-log", log,
                 "--size", size, "--seconds"]
        viewers = {
            "limit": [run.program("bare_viewer"), str(port), "BENCH", "--size", size,
                      "--seconds", "1000"],
            "ours": [run.program("quorvid"), "view", f"127.0.0.1:{port}", "--device", "BENCH",
                     "--size", size, "--no-text"]}
        output_of([*watch, "3", "--", *viewers["limit"]], display)  # encodes the loop
        for _ in range(run.rounds):
            for who, viewer in viewers.items():
                found = json.loads(output_of([*watch, str(run.seconds), "--", *viewer],
                                             display))
                found.update(found.pop("latencyMs"))
                for figure, value in found.items():
                    values[who][figure].append(value)
    return values


def method(run):
    """How exactly the screen is read."""
    with screen("640x480") as (display, file):
        found = json.loads(output_of([run.program("screen_latency"), "--method", "--screen", file],
                                     display))
    seen = found["seenAfterDrawnMs"]
    run.notes["method"] = found
    return [Row("seen after it was drawn, median", "ms", seen["median"]),
            Row("seen after it was drawn, p99", "ms", seen["p99"]),
            Row("from look to look, p99", "ms", found["lookGapMs"]["p99"])]


def stages(run):
    """Decoding, conversion and drawing, each by itself."""
    found = json.loads(output_of(
        [run.program("stages"), f"--benchmark_repetitions={run.rounds}",
         "--benchmark_enable_random_interleaving=true", "--benchmark_format=json",
         f"--benchmark_min_time={0.05 * run.seconds:.2f}"]))
    times = defaultdict(lambda: defaultdict(list))
    for one in found["benchmarks"]:
        if one["run_type"] == "iteration":
            name, who = one["name"].split("/")[:2]
            times[name][who].append(one["cpu_time"])
    budgets = {"decode": 1.12, "convert": 1.10, "draw": 1.10}
    return [Row(name, "ms", both["ours"], both["limit"], budget=budgets[name.split()[0]])
            for name, both in sorted(times.items())]


def workers(run):
    """Receiving, packet by packet."""
    found = json.loads(output_of([run.program("worker_load"), "--rounds", str(max(run.rounds, 5)),
                                  "--packets", str(5 if run.is_short else 20)], errors=True))
    rows = [Row(f"{name} packets at 30/s", "us", both["ours"], both["limit"], budget=1.15)
            for name, both in found["pacedMicroseconds"].items()]
    rows += [Row(f"{name} packets at full speed", "MB/s", both["ours"], both["limit"],
                 budget=0.85, least=True) for name, both in found["fullSpeedMBps"].items()]
    return rows + [Row(f"{name} packet that finds its slot full", "ms", wait)
                   for name, wait in found["fixedWaitMs"].items()]


def sessions(run):
    """Streams that nobody watches."""
    found = {count: [json.loads(output_of([run.program("session_load"), "--sessions", str(count),
                                           "--seconds", str(run.seconds)], errors=True))
                     for _ in range(min(run.rounds, 2))] for count in (10, 500)}
    cost = {count: [one["processorMicrosecondsPerPacket"] for one in many]
            for count, many in found.items()}
    memory = [one["residentKiBPerSession"] for one in found[10]]
    return [Row("memory a session, of 10", "KiB", memory, most=400),
            Row("frames lost, 500 sessions", "", sum(one["lost"] for one in found[500]), most=0),
            Row("packet of 500 sessions, of 10", "us", cost[500], cost[10], budget=1.3)]


def streams(run):
    """Many streams in one window: all their work, and the least that their pictures cost."""
    counts = (4, 16) if run.is_short else (4, 8, 16)
    cost, limit, share, whole = (defaultdict(list) for _ in range(4))
    arguments = ("--size", "704x576", "--fps", "25", "--seconds", "2", "--devices", "4")
    with simulator(run.build, *arguments) as (port, _):
        command = [run.program("many_streams"), "127.0.0.1", str(port), "--streams"]
        for _ in range(run.rounds):
            for count in counts:
                least = json.loads(output_of([*command, str(count), "--limits", "--seconds", "1"]))
                found = json.loads(output_of([*command, str(count), "--seconds",
                                              str(run.seconds)]))
                decoded = sum(one["decoded"] for one in found["streams"])
                shown = sum(one["shown"] for one in found["streams"])
                done = decoded * least["decodeMs"] + shown * (least["scaleMs"] + least["drawMs"])
                cost[count].append(1e3 * found["coresUsed"] * found["seconds"] / decoded)
                limit[count].append(done / decoded)
                whole[count].append(least["decodeMs"] + least["scaleMs"] + least["drawMs"])
                share[count].append(100 * shown / decoded)
    rows = []
    for count in counts:
        row = Row(f"picture of {count} streams", "ms", cost[count], limit[count], budget=1.15)
        rows += [row, Row(f"shown of {count} streams' pictures", "%", share[count])]
        # With every picture shown; a busy machine shows fewer.
        needed = 0.025 * count * middle(whole[count])
        run.points.append((count, row.ratio * needed, needed))
    most, ours, least = run.points[-1]
    rows.append(Row("streams that fill 2 processors, reckoned", "", 2 * most / ours,
                    2 * most / least))
    return rows


# By name, in this order.
ALL = {"latency": latency, "method": method, "stages": stages, "workers": workers,
       "sessions": sessions, "streams": streams}
