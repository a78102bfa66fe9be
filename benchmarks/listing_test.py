# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

"""Checks of the benchmark itself: that it sees when listings differ, and what it writes. No time
that it measures matters here. Run with the folder of the programs."""

import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True  # the folder of the sources stays as it is

from listing_load import Load, Shape
from listing_report import row, table
from listing_tools import (
    differences_from_load,
    differences_from_ss,
    lsof_pairs,
    our_pairs,
    probe_pairs,
    ss_pairs,
    ss_sockets,
)

NOT_INSTALLED = 77
BIN = ""


class ReadingOfListings(unittest.TestCase):
    def test_ss_names_every_process_that_holds_a_socket(self):
        text = (
            'LISTEN 0 511 127.0.0.1:80 0.0.0.0:* users:(("nginx",pid=12,fd=6),("a b",pid=11,fd=6))\n'
            "LISTEN 0 128 [::1]:22 [::]:*\n"
            'LISTEN 0 128 127.0.0.53%lo:53 0.0.0.0:* users:(("dns",pid=7,fd=9))\n'
        )
        self.assertEqual(
            ss_sockets(text),
            [
                ("127.0.0.1", 80, frozenset({11, 12})),
                ("[::1]", 22, frozenset()),
                ("127.0.0.53%lo", 53, frozenset({7})),
            ],
        )
        self.assertEqual(ss_pairs(text), {(80, 11), (80, 12), (53, 7)})

    def test_lsof_has_a_header_and_a_row_for_each_holder(self):
        text = (
            "COMMAND PID USER FD TYPE DEVICE SIZE/OFF NODE NAME\n"
            "my\\x20app 12 root 6u IPv4 4711 0t0 TCP 127.0.0.1:80 (LISTEN)\n"
            "node 13 me 18u IPv6 4712 0t0 TCP [::1]:3000 (LISTEN)\n"
        )
        self.assertEqual(lsof_pairs(text), {(80, 12), (3000, 13)})

    def test_our_json_and_the_probe_tell_pairs(self):
        self.assertEqual(our_pairs('[{"port": 80, "pid": 12, "tier": "dev"}]'), {(80, 12)})
        self.assertEqual(probe_pairs("80:12 443:0 "), {(80, 12), (443, 0)})


class Differences(unittest.TestCase):
    def test_a_listing_with_all_holders_of_a_load_has_none(self):
        differences = differences_from_load("x", {(80, 1), (80, 2), (22, 9)}, {80: {1, 2}})
        self.assertEqual(list(differences), [])

    def test_a_process_without_the_socket_or_no_process_at_all_is_one(self):
        expected = {80: {1}, 81: {2}}
        for pairs in ({(80, 2), (81, 2)}, {(81, 2)}, {(80, 0), (81, 2)}, {(80, 1), (80, 2), (81, 2)}):
            self.assertEqual(len(list(differences_from_load("x", pairs, expected))), 1, pairs)

    def test_one_of_the_holders_that_ss_names_is_enough(self):
        sockets = [("127.0.0.1", 80, frozenset({1, 2}))]
        self.assertEqual(list(differences_from_ss(sockets, {(80, 2)}, sockets)), [])

    def test_an_owner_that_ss_names_and_we_do_not_is_one(self):
        sockets = [("127.0.0.1", 80, frozenset({1, 2}))]
        for ours in (set(), {(80, 0)}):
            self.assertEqual(len(list(differences_from_ss(sockets, ours, sockets))), 1, ours)

    def test_an_owner_that_we_name_beside_those_of_ss_is_one(self):
        sockets = [("127.0.0.1", 80, frozenset({1}))]
        self.assertEqual(len(list(differences_from_ss(sockets, {(80, 1), (80, 3)}, sockets))), 1)

    def test_what_ss_leaves_without_an_owner_may_have_one_with_us(self):
        sockets = [("127.0.0.1", 80, frozenset())]
        self.assertEqual(list(differences_from_ss(sockets, {(80, 3)}, sockets)), [])

    def test_what_came_or_went_in_between_does_not_count(self):
        sockets = [("127.0.0.1", 80, frozenset({1}))]
        self.assertEqual(list(differences_from_ss(sockets, set(), [])), [])
        self.assertEqual(list(differences_from_ss([], set(), sockets)), [])


class Rows(unittest.TestCase):
    def test_a_row_compares_medians(self):
        made = row("idle", "a", [3.0, 1.0, 2.0], ("b", [4.0, 4.0, 9.0]), 0.4)
        self.assertEqual(
            (made["median_ms"], made["peer"], made["peer_median_ms"], made["ratio"]),
            (2.0, "b", 4.0, 0.5),
        )
        self.assertIn("missed", table([made]))

    def test_a_row_without_a_peer_has_none_of_its_fields(self):
        made = row("idle", "a", [1.0], growth_kb=0, limit_kb=0)
        self.assertTrue(made.keys().isdisjoint({"peer", "peer_median_ms", "ratio"}))
        self.assertIn("reached", table([made]))

    def test_a_row_with_a_share_of_a_processor_has_its_limit(self):
        made = row("idle", "a", [0.5], share=0.0005, limit_share=0.001)
        self.assertIn("0.1%  reached", table([made]))
        self.assertIn("missed", table([made | {"share": 0.002}]))


class Loads(unittest.TestCase):
    def test_a_load_has_what_it_was_asked_for_and_ends_when_closed(self):
        with Load(BIN, Shape(4, 2, 3, 30), 1) as load:
            self.assertEqual(len(load.processes), 4)
            self.assertEqual(len(load.owners), 6)
            counts = {len(os.listdir(f"/proc/{pid}/fd")) for pid in load.processes}
            self.assertEqual(counts, {30})
            processes = load.processes
        self.assertFalse(any(os.path.exists(f"/proc/{pid}") for pid in processes))

    def test_workers_hold_the_listeners_of_their_master(self):
        with Load(BIN, Shape(1, 1, 2, 20, workers=3), 1) as load:
            self.assertEqual(len(load.processes), 4)
            for port, pids in load.holders.items():
                self.assertEqual(pids, set(load.processes))
                self.assertLess(load.owners[port], pids)

    def test_a_process_listens_once_more_when_asked(self):
        with Load(BIN, Shape(2, 1, 1, 20), 1) as load:
            for pid in load.processes:
                port = load.listen_once_more(pid)
                self.assertEqual(load.owners[port], {pid})
            self.assertEqual(len(load.owners), 3)

    def test_a_load_that_the_machine_does_not_allow_says_why(self):
        with self.assertRaisesRegex(RuntimeError, "RLIMIT_NOFILE"):
            Load(BIN, Shape(1, 1, 1, 2**40), 1)


class QuickRun(unittest.TestCase):
    def test_all_agree_and_the_result_has_its_shape(self):
        script = os.path.join(os.path.dirname(os.path.abspath(__file__)), "listing")
        with tempfile.TemporaryDirectory() as folder:
            output = os.path.join(folder, "bench", "listing.json")
            subprocess.run(
                [sys.executable, script, "--quick", "--bin", BIN, "--output", output],
                check=True,
                stdout=subprocess.DEVNULL,
            )
            with open(output, encoding="utf-8") as file:
                result = json.load(file)
        self.assertEqual(set(result), {"name", "rows"})
        self.assertEqual(result["name"], "listing")
        self.assertEqual({made["load"] for made in result["rows"]}, {"idle", "500x50"})
        for made in result["rows"]:
            self.assertGreater(made["median_ms"], 0)
            compared = made.keys() & {"peer", "peer_median_ms", "ratio"}
            self.assertIn(len(compared), (0, 3))
            alone = made.keys() & {"rss_after_1000_kb", "share"}
            self.assertEqual(len(alone), 0 if compared else 1)


if __name__ == "__main__":
    BIN = sys.argv.pop(1)
    if not (shutil.which("ss") and shutil.which("lsof")):
        print("ss or lsof is not installed")
        sys.exit(NOT_INSTALLED)
    unittest.main()
