"""How the package meets its process: import, signals, fork and the end."""

import ctypes
import os
import signal
import subprocess
import sys
import tempfile
import time
import unittest

import quorvid
from quorvid import _abi
from simulator import Simulator

SILENT = "import quorvid; player = quorvid.Player('{}', device='X', timeout=None)\n"


def run(program, **environment):
    return subprocess.run([sys.executable, "-c", program], env={**os.environ, **environment},
                          capture_output=True, text=True, timeout=60)


class Import(unittest.TestCase):
    def test_structs_are_those_of_c(self):
        fields = subprocess.run([os.environ["QUORVID_STRUCTS"]], capture_output=True, text=True,
                                check=True).stdout.split()
        for struct, size, last in zip(fields[::3], fields[1::3], fields[2::3]):
            mine = getattr(_abi, struct)
            name = mine._fields_[-1][0]
            self.assertEqual((ctypes.sizeof(mine), getattr(mine, name).offset),
                             (int(size), int(last)), struct)
        self.assertEqual(len(fields), 3 * len(_abi.SIZES))

    def test_a_library_that_is_not_there_or_not_fit_is_told(self):
        ended = run("import quorvid", QUORVID_LIBRARY_DIR="/nowhere")
        self.assertIn("ImportError: quorvid: libquorvid.so.1 can't be loaded", ended.stderr)
        with tempfile.TemporaryDirectory() as folder:
            os.symlink(os.environ["QUORVID_WRONG_LIBRARY"], folder + "/libquorvid.so.1")
            ended = run("import quorvid", QUORVID_LIBRARY_DIR=folder)
        self.assertIn("ImportError: quorvid: libquorvid.so.1 is version 2.0.0", ended.stderr)

    def test_nothing_is_printed(self):
        with Simulator() as simulator:
            ended = run(f"import quorvid\np = quorvid.Player('{simulator.at('fleet')}', device='X')\n"
                        "p.wait(20)\ntry: quorvid.devices('127.0.0.1:1')\nexcept quorvid.Error: pass\n"
                        "print(quorvid.__version__)")
        self.assertEqual((ended.stdout, ended.stderr), ("1.0.0\n", ""))


class End(unittest.TestCase):
    def test_an_interrupt_comes_through(self):
        with Simulator("--fault", "delay:all:60000") as simulator:
            for service, line in (
                    ("fleet", SILENT + "print(flush=True)\nfor picture in player: pass"),
                    ("list", "import quorvid; print(flush=True)\n"
                     "quorvid.devices('{}', timeout=None)")):
                child = subprocess.Popen([sys.executable, "-c", line.format(simulator.at(service))],
                                         stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
                child.stdout.readline()
                time.sleep(0.5)  # it waits by then
                child.send_signal(signal.SIGINT)
                _, errors = child.communicate(timeout=20)
                self.assertIn("KeyboardInterrupt", errors)

    def test_a_program_ends_while_all_is_under_way(self):
        with Simulator() as simulator:
            ended = run((SILENT + "import threading, time\n"
                         "player.follow(lambda picture: time.sleep(0.01), print)\n"
                         "threading.Thread(target=lambda: list(player), daemon=True).start()\n"
                         "polls = quorvid.positions('{}')\n"
                         "threading.Thread(target=lambda: list(polls), daemon=True).start()\n"
                         "kept = player.wait(20).array; time.sleep(0.5)\n"
                         ).format(simulator.at("fleet"), simulator.at("list")))
        self.assertEqual((ended.returncode, ended.stderr), (0, ""))

    def test_a_forked_child_leaves_its_parents_streams_alone(self):
        with Simulator() as simulator, quorvid.Player(
                simulator.at("fleet"), device="TRUCK-7", every=True) as player:
            picture = player.wait(20)
            for _ in range(5):
                child = os.fork()
                if child == 0:
                    try:
                        player.wait(1)
                    except quorvid.ClosedError:
                        player.close()
                        del picture
                        with quorvid.Player(simulator.at("fleet"), device="BUS-2") as mine:
                            os._exit(0 if mine.wait(20) is not None else 2)
                    finally:
                        os._exit(1)
                signal.alarm(60)  # a child that hangs
                self.assertEqual(os.waitpid(child, 0)[1], 0)
                signal.alarm(0)
                following = player.wait(20)
                self.assertEqual(following.number, picture.number + 1)
                picture = following


if __name__ == "__main__":
    unittest.main()
