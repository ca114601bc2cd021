"""The faults: what the simulator is told for a service, and what else is done."""

from dataclasses import dataclass

# Bytes of a reply's header, of a record, of the fleet stream's answer and of a packet's header.
REPLY, RECORD, ANSWER, PACKET, FRAME = 124, 280, 18, 19, 36


@dataclass(frozen=True)
class Trouble:
    name: str
    options: str = ""  # of quorvid-sim; {s}: the service, {inside}: after what its first record begins
    host: str = "127.0.0.1"
    sweep: bool = False  # a cut at another byte for each connection
    clock: int = 0  # seconds that the wall clock is set by while the client runs


# After the answer, in the middle of a header or record.
INSIDE = {"fleet": ANSWER, "car": 20, "relay": 60, "list": REPLY + 100}
# Places of a cut: the answer or header, and what follows up to the first bytes of the second record.
PLACES = {"fleet": ANSWER + PACKET + 24, "car": FRAME + 24, "relay": REPLY + 8, "list": REPLY + RECORD + 5}

_LENGTHS = ["0", "1", "131072", "131073", "-1", "2147483647", "2147483648"]

TROUBLES = {trouble.name: trouble for trouble in [
    Trouble("none"),
    Trouble("refused", "--fault refuse:{s}:5"),
    Trouble("no-such-name", host="n" * 64 + ".invalid"),
    Trouble("unanswered", "--fault unanswered:{s}"),
    Trouble("silent-before", "--fault stall:{s}:0"),
    Trouble("silent-after", "--fault stall:{s}:{inside}"),
    Trouble("close-everywhere", "--fault close:{s}:0", sweep=True),
    Trouble("reset-everywhere", "--fault reset:{s}:0", sweep=True),
    Trouble("one-byte", "--fault one-byte:{s}"),
    Trouble("trickle", "--fault one-byte:{s}:700000"),
    Trouble("answer-7", "--fault answer:{s}:7"),
    Trouble("wrong-tag", "--fault wrong-tag:{s}"),
    Trouble("wrong-kind", "--fault bad-kind:{s}"),
    Trouble("wrong-command", "--fault wrong-command:{s}"),
    *(Trouble(f"length={n}", f"--fault length:{{s}}:{n}") for n in _LENGTHS),
    *(Trouble(f"count={n}", f"--fault count:{{s}}:{n}") for n in ["0", "-1", "2147483647", "2147483648"]),
    Trouble("random", "--fault random:{s}:20000"),
    Trouble("garbage", "--garbage 100000"),
    Trouble("burst", "--fault burst:{s}:50"),
    Trouble("flood", "--fault flood:{s}:10000"),
    Trouble("damaged", "--fault damage:{s}:2"),
    Trouble("noise", "--fault noise:{s}:1"),
    Trouble("lost-frames", "--fault lose:{s}:7"),
    Trouble("size-change", "--resize 160x128"),
    Trouble("clock-back", "--fault delay:list:2500", clock=-1_000_000),
    Trouble("clock-forward", "--fault delay:list:2500", clock=1_000_000),
]}

# What the table may leave out without saying so: a fault that a service doesn't know.
_STREAMS = {"answer-7": {"fleet"}, "wrong-kind": {"fleet"}, "wrong-tag": {"car", "relay", "list"},
            "wrong-command": {"relay", "list"}, "garbage": {"relay", "list"},
            **{name: {"fleet", "car"} for name in
               ("burst", "flood", "damaged", "noise", "lost-frames", "size-change")},
            **{name: {"list"} for name in TROUBLES if name.startswith("count")}}


def exists(trouble: str, service: str) -> bool:
    return service in _STREAMS.get(trouble, {service})
