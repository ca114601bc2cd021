"""What a bad network does, and what is expected then: one table.

A case's `link` holds from before the viewer starts; its `events` come so many seconds after the first
picture. Orders are those of bench/link/Link.h, or "client: ..." for `ip` in the viewer's namespace.
`fault_ends` is when the last of them is over.

Expected, in seconds at most: `first` picture, `freeze` (the longest pause between two pictures), `lag`
(from a frame's arrival to its drawing), `age` (from when the server hands a frame to its system to
when the viewer has it), `back` (from the fault's end to the first picture after the longest pause). At
least: `share` of the stream's 10 pictures a second since the first one, `cuts` (starts of the stream,
and of its connection, after the first ones: without any the fault hit nothing).
"""
import dataclasses


@dataclasses.dataclass(frozen=True)
class Case:
    name: str
    what: str
    seconds: int
    expected: dict
    link: tuple = ()
    events: tuple = ()
    fault_ends: float = None
    stream: tuple = ()
    viewer: tuple = ()
    paths: tuple = ("fleet", "car")
    short: bool = False


# A stream that is started again after 5 s, 10 s, 20 s and 30 s without a picture, a connection tried
# again after 3 s: a link that comes back finds the next attempt within as long as it was away, and half
# a minute at most.
ALL = [
    Case("good", "nothing wrong", 12, {"first": 3, "freeze": 0.5, "lag": 0.5, "share": 0.95}),
    Case("delay", "200 ms and up to 50 ms more or less, each way", 20,
         {"first": 5, "freeze": 0.8, "lag": 0.5, "share": 0.9}, ("delay 0.2", "jitter 0.05")),
    Case("loss2", "2 % of the packets lost, 20 ms each way", 20,
         {"first": 5, "freeze": 2, "lag": 1, "share": 0.85}, ("delay 0.02", "loss 0.02"),
         short=True),
    Case("loss20", "20 % of the packets lost, 20 ms each way", 60,
         {"first": 30, "freeze": 20, "lag": 1, "share": 0.02}, ("delay 0.02", "loss 0.2")),
    Case("reorder", "every tenth packet 30 ms late, 20 ms each way", 20,
         {"first": 5, "freeze": 1, "lag": 0.5, "share": 0.9}, ("delay 0.02", "reorder 0.1")),
    Case("rate64", "64 kbit/s, and a stream of 50 kbit/s", 60,
         {"first": 15, "freeze": 10, "lag": 1, "share": 0.2}, ("delay 0.05", "rate 64000"),
         stream=("--bitrate", "50000", "--size", "176x144")),
    Case("rate64full", "64 kbit/s, and the simulator's usual stream", 90,
         {"first": 60, "freeze": 60, "lag": 1, "share": 0.005}, ("delay 0.05", "rate 64000")),
    Case("rate64wait", "the same, a stall counted after 60 s", 90,
         {"first": 60, "freeze": 60, "lag": 1, "share": 0.005}, ("delay 0.05", "rate 64000"),
         viewer=("--stall", "60")),
    Case("mtu576", "576 bytes at most on the way, told by ICMP", 15,
         {"first": 3, "freeze": 0.5, "lag": 0.5, "share": 0.9}, ("delay 0.02", "mtu 576")),
    Case("rtt2", "a round trip of 2 s", 45,
         {"first": 30, "freeze": 8, "lag": 1, "share": 0.05}, ("delay 1",)),
    Case("rtt2wait", "the same, a stall counted after 15 s", 45,
         {"first": 15, "freeze": 8, "lag": 1, "share": 0.05}, ("delay 1",),
         viewer=("--stall", "15")),
    Case("down15", "silence both ways for 15 s", 37, {"back": 12, "lag": 1, "cuts": 1},
         ("delay 0.02",), ((4, "down 15"),), 19, short=True),
    Case("down45", "silence both ways for 45 s", 85, {"back": 30, "lag": 1, "cuts": 1},
         ("delay 0.02",), ((4, "down 45"),), 49),
    Case("unplugged15", "the viewer's device down for 15 s", 37, {"back": 12, "lag": 1, "cuts": 1},
         ("delay 0.02",),
         ((4, "client: link set quorvid0 down"), (19, "client: link set quorvid0 up")), 19),
    Case("reset", "three forged resets to the viewer, 5 s apart", 24,
         {"freeze": 5, "lag": 1, "cuts": 3}, ("delay 0.02",),
         ((3, "reset client"), (8, "reset client"), (13, "reset client")), short=True),
    Case("halfopen", "a forged reset to the server alone", 20, {"back": 9, "lag": 1, "cuts": 1},
         ("delay 0.02",), ((4, "reset server"),), 4),
    Case("address", "the viewer's address removed, another added", 25,
         {"back": 10, "lag": 1, "cuts": 1}, ("delay 0.02",),
         ((4, "client: address del 10.77.0.2/24 dev quorvid0"),
          (4.5, "client: address add 10.77.0.3/24 dev quorvid0")), 4.5),
]
