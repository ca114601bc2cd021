"""quorvid.devices() and quorvid.positions() against the simulator."""

import threading
import unittest

import quorvid
from quorvid._records import visible_text
from simulator import Simulator


class Devices(unittest.TestCase):
    def test_every_field_comes(self):
        with Simulator("--devices", "Łódź-1,B", "--item-len", "300", "--garbage", "50") as simulator:
            first, second = quorvid.devices(simulator.at("list"), "fleetop", "secret")
        self.assertEqual((first.blk64, first.blk_a32, first.blk_b32), ("Łódź-1", "Truck 1", "Depot 1"))
        self.assertEqual((first.byte_a, first.byte_b), (1, 8))
        self.assertEqual(first.item_len, 300)
        self.assertEqual((first.num_a // 100_000, first.num_b // 100_000), (100, 500))
        self.assertRegex(first.blk9, r"^08:\d\d:\d\d$")
        self.assertEqual(first.blk128, f"driving north at {first.byte_c} km/h")
        self.assertEqual(second.raw["blk64"], b"B" + 63 * b"\0")

    def test_a_text_steers_nothing(self):
        shown = visible_text("a\x1b[1m\u202eé".encode() + b"\xff\xe2\x82\0rest")
        self.assertEqual(shown, "a.[1m...é...")

    def test_a_failure_says_why(self):
        with Simulator("--fault", "short-record:list") as simulator:
            with self.assertRaisesRegex(quorvid.QueryError, "broke off after 1 devices") as caught:
                quorvid.devices(simulator.at("list"))
            self.assertEqual(caught.exception.devices[0].blk64, "SIM0001")
            with self.assertRaisesRegex(quorvid.QueryError, "did not answer with a device list"):
                quorvid.devices(simulator.at("fleet"))
        with self.assertRaisesRegex(quorvid.QueryError, "nothing listens"):
            quorvid.devices(simulator.at("list"))
        with self.assertRaisesRegex(quorvid.QueryError, "no..name can't be (resolved|reached)"):
            quorvid.devices("no..name:80")
        with self.assertRaisesRegex(ValueError, "32 bytes"):  # would end the process
            quorvid.devices("127.0.0.1:80", "x" * 32)
        with Simulator("--fault", "one-byte:list:100000") as simulator:
            with self.assertRaisesRegex(quorvid.QueryTimeout, "within 0.5 s"):
                quorvid.devices(simulator.at("list"), timeout=0.5)


class Positions(unittest.TestCase):
    def test_polls_come_until_another_thread_stops_them(self):
        with Simulator() as simulator:
            pass
        with self.assertRaisesRegex(quorvid.QueryTimeout, "nothing listens"):
            next(quorvid.positions(simulator.at("list"), timeout=1))
        with Simulator() as simulator:
            with quorvid.positions(simulator.at("list"), "fleetop") as polls:
                first = next(polls)
                with self.assertRaisesRegex(quorvid.Error, "already"):
                    next(quorvid.positions(simulator.at("list")))
                second = next(polls)
                self.assertEqual((first.number, second.number), (1, 2))
                self.assertEqual([device.blk64 for device in second.devices],
                                 ["SIM0001", "SIM0002", "SIM0003"])
                self.assertNotEqual(first.devices[0].num_a, second.devices[0].num_a)
                threading.Timer(0.5, polls.stop).start()
                self.assertEqual(list(polls), [])
            # The next one waits for the former's thread.
            self.assertEqual(len(next(quorvid.positions(simulator.at("list"))).devices), 3)


if __name__ == "__main__":
    unittest.main()
