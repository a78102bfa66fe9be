# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

"""What is measured on the desktop, part by part. Each gives its rows."""

import os
import random
import socket
import time

from desktop import expect
from desktop_programs import (
    PEERS,
    Peer,
    processor_milliseconds,
    proportional_megabytes,
)
from desktop_report import MB, compare, row
from desktop_search import keys_that_change
from listing_load import Load, Shape

CORNER = (0, 799)  # where the pointer is on nothing
REST = 2.0  # seconds after which a program has done what its start brings with it
FEW = 4  # listeners, of which the panel shows all, and one more
BETWEEN_NOTCHES = 0.03  # seconds
POLL = 10.0  # seconds between two scans when nothing else is set

ICON, LIST, CLICK, KEYSTROKE = 60, 150, 30, 16  # milliseconds to reach
OPEN, CLOSED = 45, 35  # megabytes to reach


def load(bin_folder, listeners):
    """Processes that listen on 127.0.0.1, a hundred sockets each at most."""
    processes = min(listeners, max(20, listeners // 100))
    each = listeners // processes
    return Load(
        bin_folder,
        Shape(processes=processes, listening=processes, listeners=each, descriptors=each + 3, before=0),
        seed=listeners,
    )


def searched_everywhere(bin_folder):
    """What the search finds all rows of a load by: the name and the path of its executable."""
    program = os.path.realpath(os.path.join(bin_folder, "inventory-load"))
    return [os.path.basename(program), program]


class Desktop:
    """The session with the screen, our program and the others on it."""

    def __init__(self, session, screen, tarnwick):
        self.session = session
        self.screen = screen
        self.tarnwick = tarnwick
        self.peers = [Peer(name, session, screen) for name in PEERS]

    # Side by side

    def starts_and_memory(self, rounds):
        """Each alone on the desktop, in turn."""
        starts, memory = {}, {}

        def note(kept, name, value):
            kept.setdefault(name, []).append(value)

        for _ in range(rounds):
            note(starts, "ours", self.tarnwick.start())
            self.session.settle(REST)
            note(memory, "open", proportional_megabytes(self.tarnwick.pids()))
            self.tarnwick.close_panel()
            note(memory, "closed again", proportional_megabytes(self.tarnwick.pids()))
            self.tarnwick.stop()
            self.tarnwick.start_closed()
            self.session.settle(REST)
            note(memory, "closed", proportional_megabytes(self.tarnwick.pids()))
            self.tarnwick.stop()
            self.screen.point(CORNER)
            for peer in self.peers:
                note(starts, peer.name, peer.start())
                self.session.settle(REST)
                note(memory, peer.name, proportional_megabytes(peer.pids()))
                peer.stop()

        def start_rows(at, ours, theirs, target):
            return compare(
                row(ours, [times[at] for times in starts["ours"]], target=target),
                [row(theirs, [times[at] for times in starts[name]], program=name) for name in PEERS],
            )

        windows = [row("memory, window open", memory[name], MB, name) for name in PEERS]
        return [
            *start_rows(0, "start to icon", "start to window", ICON),
            *start_rows(1, "start to list", "start to list", LIST),
            *compare(row("memory, panel open", memory["open"], MB, target=OPEN), windows),
            row("memory, panel closed, not opened yet", memory["closed"], MB, target=CLOSED),
            row("memory, panel closed again", memory["closed again"], MB, target=CLOSED),
        ]

    def idle(self, seconds):
        """All at the same time, first with their windows open, then minimised, and ours closed."""
        self.screen.point(CORNER)
        for peer in self.peers:
            peer.start()
        self.tarnwick.start_closed()
        self.tarnwick.open_panel()
        rows = self._idle("open", seconds)
        self.tarnwick.close_panel()
        for peer in self.peers:
            peer.minimise()
        rows += self._idle("closed", seconds)
        self.tarnwick.stop()
        for peer in self.peers:
            peer.stop()
        return rows

    def _idle(self, how, seconds):
        self.screen.point(CORNER)
        self.session.settle(REST)
        programs = {"ours": self.tarnwick.pids()} | {peer.name: peer.pids() for peer in self.peers}
        before = {name: processor_milliseconds(pids) for name, pids in programs.items()}
        time.sleep(seconds)
        used = {name: processor_milliseconds(pids) - before[name] for name, pids in programs.items()}
        window = "open" if how == "open" else "minimised"
        return compare(
            row(f"processor, {seconds:.0f} s idle, panel {how}", [used["ours"]],
                target=min(used[name] for name in PEERS)),
            [row(f"processor, {seconds:.0f} s idle, window {window}", [used[name]], program=name)
             for name in PEERS],
        )

    # Ours alone

    def starts_in_embedding_tray(self, rounds):
        times = []
        for _ in range(rounds):
            times.append(self.tarnwick.start())
            self.tarnwick.close_panel()
            self.tarnwick.stop()
        return [
            row("start to icon, embedding tray", [icon for icon, _ in times], target=ICON),
            row("start to list, embedding tray", [frame for _, frame in times], target=LIST),
        ]

    def clicks(self, rounds, tray):
        self.tarnwick.start_closed()
        times = []
        for _ in range(rounds):
            times.append(self.tarnwick.open_panel())
            self.tarnwick.close_panel()
        self.tarnwick.stop()
        return [row(f"click to panel, {tray}", times, target=CLICK)]

    def lists(self, bin_folder, size, rounds):
        """Searching and scrolling with many listeners."""
        with load(bin_folder, size) as listeners:
            self.tarnwick.start_closed()
            self.tarnwick.open_panel()
            self.session.settle(REST)
            chosen = keys_that_change(sorted(listeners.owners), searched_everywhere(bin_folder))
            expect(chosen, "there are keys that change the list")
            rows = self._search(*chosen, size, rounds)
            if size == 10000:
                rows += self._scroll(size, rounds)
            self.tarnwick.close_panel()
            self.tarnwick.stop()
        return rows

    def _search(self, before, wanted, size, rounds):
        self.screen.hold("Control_L")
        self.screen.key("f")
        self.screen.release("Control_L")
        for key in before:
            self.screen.key(key)
        self.session.settle()
        typed, erased = [], []
        for _ in range(rounds):
            for key, times in [*((digit, typed) for digit in wanted), *(("BackSpace", erased),) * 2]:
                times.append(self._frame_after(lambda key=key: self.screen.key(key)))
                self.session.settle(0.1)
        return [
            row(f"key typed in the search to list, {size:,} entries", typed, target=KEYSTROKE),
            row(f"key erased in the search to list, {size:,} entries", erased, target=KEYSTROKE),
        ]

    def _scroll(self, size, rounds):
        self.screen.point(self.tarnwick.rows.middle)
        wheel = []
        for _ in range(20 * rounds):
            wheel.append(self._frame_after(lambda: self.screen.click(button=5)))
            self.session.settle(BETWEEN_NOTCHES)
        self.screen.point(CORNER)
        return [row(f"wheel to frame while scrolling {size:,} entries", wheel)]

    def _frame_after(self, act):
        """Milliseconds from an act of the user to the frame in which the first column is another."""
        column = self.tarnwick.column
        before = self.screen.picture(column).pixels
        return self.screen.await_frame(act(), column, lambda picture: picture.pixels != before)

    def news(self, bin_folder, rounds):
        """From listen() in another process, this one, to the row; so few that all rows are seen."""
        times = []
        with load(bin_folder, FEW):
            self.tarnwick.start_closed()
            self.tarnwick.open_panel()
            self.screen.point(CORNER)
            for _ in range(rounds):
                self.session.settle(POLL + REST)
                time.sleep(random.uniform(0, POLL))
                with socket.socket() as server:
                    server.bind(("127.0.0.1", 0))
                    times.append(self._frame_after(lambda: self._listen(server)))
            self.tarnwick.close_panel()
            self.tarnwick.stop()
        return [row("listen() to row", times, target=POLL * 1000)]

    def _listen(self, server):
        self.screen.forget()
        start = time.monotonic()
        server.listen()
        return start
