# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

"""Programs on the desktop: ours and those that it is compared with, and what they cost."""

import dataclasses
import os
import pathlib
import re
import time

from desktop import Rect, children_of, command_line, expect, wait_for

HELPER = "tarnwick-helper"
PEERS = {
    "xfce4-taskmanager": ["xfce4-taskmanager"],
    "lxtask": ["lxtask"],
    "gnome-system-monitor": ["gnome-system-monitor", "--show-processes-tab"],
}
SMALLEST_WINDOW = (300, 200)
LINES_OF_A_LIST = 2
CLOCK_OF_PROCESSOR_TIME = 2  # of a process, in the identifier of a clock: clock_getcpuclockid(3)


def rows_of(window):
    """Where the first column of a list is in the windows of all of these programs."""
    return Rect(window.x + 16, window.y + window.height * 2 // 5, 84, window.height * 2 // 5)


def has_list(picture):
    return picture.lines_of_text() >= LINES_OF_A_LIST


def family(pid):
    """A process and those that it has started."""
    return [pid] + [each for child in children_of(pid) for each in family(child)]


def proportional_megabytes(pids):
    """The memory that would be free without them: each shared page counts for its part."""
    total = 0
    for pid in pids:
        text = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text(encoding="ascii")
        total += int(re.search(r"^Pss:\s+(\d+) kB", text, re.MULTILINE)[1])
    return total / 1024


def processor_milliseconds(pids):
    """What they have used so far, in the kernel and outside, their ended threads included."""
    return sum(time.clock_gettime(~pid << 3 | CLOCK_OF_PROCESSOR_TIME) for pid in pids) * 1000


@dataclasses.dataclass
class Peer:
    """A program that is compared with; its window is the whole of it."""

    name: str
    session: object
    screen: object

    def start(self):
        """Milliseconds until the window is mapped, and until it shows a list."""
        self.screen.forget()
        start = time.monotonic()
        self.process = self.session.start(self.name, PEERS[self.name])
        mapped, window = self.screen.await_window(start, SMALLEST_WINDOW)
        return mapped, self.screen.await_frame(start, rows_of(window), has_list)

    def pids(self):
        return family(self.process.pid)

    def minimise(self):
        windows = self.session.run("xdotool", "search", "--onlyvisible", "--pid", str(self.process.pid))
        for window in windows.split():
            self.session.run("xdotool", "windowminimize", window)

    def stop(self):
        self.session.stop(self.name)


class Tarnwick:
    """Ours: an icon in a tray, a panel and a helper."""

    def __init__(self, session, screen):
        self._session = session
        self._screen = screen
        self._learn()

    def _learn(self):
        """Starts it once to see where the icon and the panel are, and how the icon looks."""
        self._session.after_first_run()
        self._session.start_tarnwick("--login-item")
        icon = self._session.await_icon()
        self.icon = Rect(icon.x + 3, icon.y + 3, icon.width - 6, icon.height - 6)
        self._session.settle()
        self._icon_pixels = self._screen.picture(self.icon).pixels
        self._screen.point(self.icon.middle)
        self._screen.click()
        self.panel = self._session.await_panel()[1]
        self.close_panel()
        self._session.stop_tarnwick()

    @property
    def rows(self):
        return rows_of(self.panel)

    @property
    def column(self):
        """The ports, without what changes in the rows by itself."""
        return Rect(self.panel.x + 16, self.panel.y + 110, 84, self.panel.height - 150)

    def start(self):
        """Milliseconds until the icon is in the tray, and until the panel shows a list when somebody
        clicks on the icon at once."""
        self._screen.point(self.icon.middle)
        self._screen.forget()
        start = time.monotonic()
        self._session.start_tarnwick("--login-item")
        shown = self._screen.await_frame(start, self.icon, self._is_icon)
        clicked = self._screen.click()
        return shown, (clicked - start) * 1000 + self._screen.await_frame(clicked, self.rows, has_list)

    def _is_icon(self, picture):
        if self._session.tray_kind == "panel":
            return picture.pixels == self._icon_pixels
        # Another picture of it may follow, which matches what the tray has drawn behind it.
        return picture.lines_of_text() > 0

    def start_closed(self):
        self._session.start_tarnwick("--login-item")
        self._session.await_icon()

    def open_panel(self):
        """Milliseconds from the click on the icon to the first frame."""
        self._screen.point(self.icon.middle)
        frame = self._screen.await_frame(self._screen.click(), self.rows, has_list)
        self._session.await_panel()
        return frame

    def close_panel(self):
        self._session.await_panel()
        self._screen.key("Escape")
        wait_for("the panel is closed", lambda: not self._session.popover())
        self._session.settle()

    def pids(self):
        # The helper is started loose from the application, and so came to whoever started that.
        helpers = [pid for pid in children_of(os.getpid()) if HELPER in command_line(pid)]
        expect(len(helpers) == 1, "there is one helper")
        return family(self._session.app.pid) + helpers

    def stop(self):
        self._session.stop_tarnwick()
