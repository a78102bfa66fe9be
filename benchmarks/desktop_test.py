#!/usr/bin/python3
# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

"""Checks of the desktop's benchmark that need no desktop."""

import sys
import unittest

sys.dont_write_bytecode = True  # the folder of the sources stays as it is

from desktop_search import changes, found, keys_that_change

PORTS = sorted(32768 + 271 * number % 28000 for number in range(100))


class KeysToType(unittest.TestCase):
    def check(self, everywhere, ports=PORTS):
        before, keys = keys_that_change(ports, everywhere)
        self.assertEqual(len(keys), 2)
        self.assertTrue(changes(ports, everywhere, before, keys))
        return before, keys

    def test_each_changes_the_list_at_once_where_no_row_says_a_digit(self):
        before, _ = self.check(["/home/ann/tarnwick/build/release/bin/inventory-load"])
        self.assertEqual(before, "")

    def test_each_changes_the_list_where_every_row_says_every_digit(self):
        before, keys = self.check(["/tmp/0123456789/build/release/bin/inventory-load"])
        self.assertNotEqual(before, "")
        self.assertNotIn(before + keys, "0123456789")

    def test_each_changes_the_list_where_rows_say_many_digits(self):
        self.check(["/tmp/tmp.83920174651/0918273645/bin/inventory-load", "inventory-load"])

    def test_each_changes_a_long_list(self):
        self.check(["/tmp/0123456789/bin/inventory-load"], list(range(40000, 50000)))

    def test_there_are_none_where_every_row_says_every_port(self):
        self.assertIsNone(keys_that_change(PORTS, [" ".join(map(str, PORTS))]))

    def test_rows_are_found_by_their_port_and_by_what_all_say(self):
        self.assertEqual(found([4711, 4712], ["/opt/x"], "12"), [4712])
        self.assertEqual(found([4711, 4712], ["/opt/12"], "12"), [4711, 4712])


if __name__ == "__main__":
    unittest.main()
