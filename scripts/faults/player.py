"""player.py HOST:PORT PLAYERS: so many players of the Python package, until SIGINT. Each change of a
state and each further attempt is a line, the last one tells how many pictures were handed out, all together."""

import sys

import quorvid

players = [quorvid.Player(sys.argv[1], device="BUS-1") for _ in range(int(sys.argv[2]))]
told = [("", 0)] * len(players)
received = 0
try:
    while True:
        received += players[0].wait(0.004) is not None
        for i, player in enumerate(players):
            while player.wait(0) is not None:
                received += 1
            now = (str(player.status), player.figures.reconnections)
            if now != told[i]:
                told[i] = now
                print(*now, flush=True)
except KeyboardInterrupt:
    for player in players:
        player.close()
print("received", received)
sys.exit(0 if received else 1)
