"""The simulators of a soak and what goes wrong with each: with its streams, and with its lists."""

import random
from dataclasses import dataclass


@dataclass(frozen=True)
class Trouble:
    options: str  # of quorvid-sim
    size: str
    relays: bool  # a relay's look-up succeeds: how many workers a failing one calls is not known
    polls: bool  # its list is no wrong reply, which a poller asks for again without a pause

    def words(self, seed: int) -> list[str]:
        rate = "" if "--fps" in self.options else "--fps 2 --gop 4"
        return f"--size {self.size} --seed {seed} {rate} {self.options}".split()


_SIZES = ["128x128", "160x128", "176x144", "640x480", "192x128"]


def _streams(chance: random.Random) -> list[str]:
    """The first two are sound. {s}: fleet and car alike."""
    place, early = chance.randint(5000, 80000), chance.randint(5, 40)
    return [
        "",
        "--audio",
        f"--drop-after {chance.randint(10, 30)}",
        f"--drop-after {chance.randint(3, 9)} --close reset",
        f"--stall-after {chance.randint(10, 30)}",
        "--fault refuse:{s}",
        f"--fault delay:{{s}}:{chance.randint(1000, 8000)}",
        f"--fault answer:fleet:{chance.randint(1, 255)} --fault wrong-tag:car:{early}",
        f"--fault bad-kind:fleet:{early} --gap 3",
        f"--fault too-large:{{s}}:{early}",
        f"--fault negative:{{s}}:{early}",
        f"--fault short-header:{{s}}:{chance.randint(1, 17)}",
        f"--fault one-byte:{{s}}:{chance.randint(500, 2000)}",
        "--fault one-byte:{s}:1000000",
        f"--fault stall:{{s}}:{place}",
        f"--fault close:{{s}}:{place}",
        f"--fault reset:{{s}}:{place}",
        f"--fault random:{{s}}:{chance.randint(1, 200000)}",
        "--fault noise:{s}:1 --fps 10 --gop 10",
        f"--fault noise:{{s}}:{chance.randint(2, 6)}",
        f"--fault burst:{{s}}:{chance.randint(3, 12)}",
        "--fault lose:{s}:7",
        "--fault damage:{s}:2 --resize 160x128",
    ]


# What a poller may meet, too; and wrong replies. The header has 124 bytes, three records 280 each.
_CUTS = ["", "--fault delay:list:2500", "--fault refuse:list:60", "--fault close:list:500",
         "--fault stall:list:300", "--fault one-byte:list:1000"]
_WRONG = ["--fault random:list:2000", "--fault wrong-tag:list", "--fault wrong-command:list", "--fault negative:list",
          "--fault count:list:0", "--fault too-large:list", "--fault close:list:60", "--garbage 100000"]


def _both(options: str) -> str:
    words = options.split()
    twice = [[word.replace("{s}", "fleet"), "--fault", word.replace("{s}", "car")] if "{s}" in word else [word]
             for word in words]
    return " ".join(word for some in twice for word in some)


def draw(seed: int, count: int) -> list[Trouble]:
    """`count` of them, the two sound ones first; with fewer than there are, others for each seed."""
    chance = random.Random(seed)
    streams = _streams(chance)
    wanted = [0, 1, *sorted(chance.sample(range(2, len(streams)), min(count, len(streams)) - 2))]
    troubles = []
    for place, number in enumerate(wanted):
        lists = _CUTS + _WRONG
        about_list = "" if place == 0 else lists[place % len(lists)]
        troubles.append(Trouble(f"{_both(streams[number])} {about_list}", _SIZES[number % len(_SIZES)],
                                relays=number < 2, polls=about_list in _CUTS))
    return troubles


ALL = len(_streams(random.Random(0)))
