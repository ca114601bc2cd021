"""quorvid.Player against the simulator."""

import gc
import os
import subprocess
import tempfile
import threading
import time
import unittest

import numpy
import quorvid
from brightest_frame import save_png
from quorvid import Format, Reason, State
from simulator import BARS, Simulator, cell, counter

FRAMES = 100  # of the simulator's loop


class Pictures(unittest.TestCase):
    def test_each_one_comes_once_in_order(self):
        with Simulator() as simulator, quorvid.Player(
                simulator.at("fleet"), device="TRUCK-7", every=True, format="grey") as player:
            pictures = player.__iter__()
            first = next(pictures)
            start = counter(first.array)
            self.assertIsNotNone(start)
            time.sleep(0.5)  # the newest would be another one by then
            for i in range(1, 40):
                picture = next(pictures)
                self.assertEqual(picture.number, first.number + i)
                self.assertEqual(counter(picture.array), (start + i) % FRAMES)
            self.assertTrue(player.status.is_live)
            figures = player.figures
            self.assertEqual((figures.lost, figures.held, figures.overwritten), (0, 0, 0))
            self.assertEqual((figures.stream_width, figures.stream_height), (640, 480))

    def test_formats_show_the_same_in_the_streams_own_size(self):
        with Simulator("--size", "720x576") as simulator, quorvid.Player(
                simulator.at("car"), device="BUS-2", channel=1, path="car") as player:
            picture = player.wait(20)
        self.assertEqual(picture.array.shape, (576, 720, 3))
        for i, colour in enumerate(BARS):
            seen = cell(picture.array, 1.25 + 1.5 * i, 27)
            self.assertLess(max(abs(seen.astype(int) - colour)), 16, f"bar {i}: {seen}")
        luma, chroma = picture.planes(Format.NV12)
        grey, blue, red = picture.planes(Format.I420)
        self.assertTrue((luma == grey).all() and (picture.read(Format.GREY) == grey).all())
        self.assertTrue((chroma[..., 0] == blue).all() and (chroma[..., 1] == red).all())
        whole = picture.read(Format.NV12)
        self.assertEqual(whole.shape, (864, 720))
        self.assertTrue((whole[576:].reshape(chroma.shape) == chroma).all())
        self.assertTrue((picture.read(Format.I420)[:576] == grey).all())
        with self.assertRaises(ValueError):
            picture.array[0, 0] = 1

    def test_rgb_is_what_the_simulator_drew(self):
        with Simulator() as simulator:
            array = quorvid.Player(simulator.at("fleet"), device="TRUCK-7").wait(20).array
        with tempfile.TemporaryDirectory() as folder:
            # With room for the line of text that the comparing program expects below.
            save_png(folder + "/it.png", numpy.pad(array, ((0, 18), (0, 0), (0, 0))))
            compared = subprocess.run([os.environ["QUORVID_COMPARE"], folder + "/it.png"],
                                      capture_output=True, text=True)
        self.assertEqual(compared.returncode, 0, compared.stdout + compared.stderr)

    def test_an_array_outlives_picture_and_player(self):
        with Simulator() as simulator:
            player = quorvid.Player(simulator.at("fleet"), device="TRUCK-7", every=True)
            kept = [(picture.array, picture.array.copy())
                    for picture, _ in zip(player, range(12))]
            player.close()
            del player
            gc.collect()
        for array, copy in kept:
            self.assertTrue(numpy.array_equal(array, copy))

    def test_eight_players_lose_nothing(self):
        gaps = []

        def read(player):
            last = 0
            for picture in player:
                if picture.number != last + 1 or picture.array.shape != (480, 640, 3):
                    gaps.append((last, picture.number))
                last = picture.number
                if last == 75:
                    break

        with Simulator() as simulator:
            players = [quorvid.Player(simulator.at("fleet"), device="TRUCK-7", channel=i, every=True)
                       for i in range(8)]
            threads = [threading.Thread(target=read, args=(player,)) for player in players]
            for thread in threads:
                thread.start()
            for thread in threads:
                thread.join(60)
            ends = [player.figures for player in players]
            for player in players:
                player.close()
        self.assertEqual(gaps, [])
        for figures in ends:
            self.assertEqual((figures.lost, figures.held), (0, 0))
            self.assertGreaterEqual(figures.shown, 75)


class Ends(unittest.TestCase):
    def test_a_refusal_is_told_and_what_is_impossible_raises(self):
        with Simulator("--fault", "answer:fleet:5") as simulator, quorvid.Player(
                simulator.at("fleet"), device="TRUCK-7", timeout=1.5) as player:
            with self.assertRaisesRegex(quorvid.StreamTimeout, "refused.* status 5") as caught:
                next(iter(player))
            status = caught.exception.status
            self.assertEqual((status.state, status.reason), (State.REFUSED, Reason.REFUSED_BY_SERVER))
            self.assertEqual(status.answer_status, 5)
            self.assertIsInstance(caught.exception, TimeoutError)
        with self.assertRaisesRegex(quorvid.TargetError, "31 characters"):
            quorvid.Player("127.0.0.1:1", device="x" * 32)
        for server, device in (("nowhere", "x"), ("a:0", "x"), ("a:65536", "x"), ("a:1", "x\0y")):
            with self.assertRaises(ValueError):
                quorvid.Player(server, device=device)

    def test_another_thread_stops_or_restarts_an_iteration(self):
        # The second one is silent.
        with Simulator() as simulator, Simulator("--fault", "delay:all:60000") as silent:
            for way, server in ((quorvid.Player.stop, simulator), (quorvid.Player.stop, silent),
                                (quorvid.Player.close, simulator), (quorvid.Player.close, silent)):
                player = quorvid.Player(server.at("fleet"), device="TRUCK-7", timeout=None)
                thread = threading.Thread(target=lambda: list(p.number for p in player))
                thread.start()
                time.sleep(0.3)
                player.restart()
                self.assertTrue(server is silent or player.wait(20) is not None)
                time.sleep(0.3)  # it has gone on by then
                self.assertTrue(thread.is_alive())
                way(player)
                thread.join(10)
                self.assertFalse(thread.is_alive())
                player.close()
                with self.assertRaises(quorvid.ClosedError):
                    player.wait(0)

    def test_handlers_run_until_the_player_is_closed_or_one_raises(self):
        states, pictures, enough = [], [], threading.Event()

        def on_picture(picture):
            pictures.append(picture.number)
            if len(pictures) == 10:
                enough.set()

        with Simulator() as simulator:
            player = quorvid.Player(simulator.at("fleet"), device="TRUCK-7", every=True)
            thread = player.follow(on_picture, lambda status: states.append(status.state))
            self.assertTrue(enough.wait(20))
            player.close()
            self.assertFalse(thread.is_alive())
            self.assertEqual(pictures, list(range(1, len(pictures) + 1)))
            self.assertIn(State.LIVE, states)
            self.assertEqual(states[-1], State.STOPPED)

            hook, threading.excepthook = threading.excepthook, lambda told: told_of.append(told)
            told_of = []
            try:
                with quorvid.Player(simulator.at("fleet"), device="TRUCK-7") as player:
                    player.follow(lambda picture: 1 / 0).join(20)
                    self.assertEqual(player.status.state, State.STOPPED)
            finally:
                threading.excepthook = hook
            self.assertIs(told_of[0].exc_type, ZeroDivisionError)


if __name__ == "__main__":
    unittest.main()
