# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

"""A display seen from outside: when something is drawn on it, what, and the user's hand on it.

Times are those of the display's server, which says of each drawing when it was done. Its clock is
the monotonic one of the machine, in whole milliseconds: one is added, so that no figure flatters.
"""

import select
import time

from Xlib import X, XK, display
from Xlib.ext import damage, xtest

PATIENCE = 60  # seconds that a program may take to draw
CARD32 = 1 << 32


class Picture:
    """The pixels of an area."""

    def __init__(self, pixels, width):
        self._stride = 4 * width
        self.pixels = pixels

    def lines_of_text(self):
        """How many runs of lines of pixels are not of one colour."""
        count, inside = 0, False
        for start in range(0, len(self.pixels), self._stride):
            line = self.pixels[start : start + self._stride]
            drawn = line != line[:4] * (self._stride // 4)
            count += drawn and not inside
            inside = drawn
        return count


class Screen:
    """A connection of its own to a display. Watches the whole of it."""

    def __init__(self, name):
        self._display = display.Display(name)
        self._root = self._display.screen().root
        self._root.change_attributes(event_mask=X.SubstructureNotifyMask)
        self._display.damage_query_version()
        self._damage = self._display.extension_event.DamageNotify
        self._root.damage_create(damage.DamageReportRawRectangles)
        self._display.sync()

    def close(self):
        self._display.close()

    # The user's hand

    def point(self, place):
        xtest.fake_input(self._display, X.MotionNotify, x=place[0], y=place[1])
        self._display.sync()

    def click(self, button=1):
        """A click where the pointer is. Gives the time just before it."""
        return self._press_and_release(X.ButtonPress, X.ButtonRelease, button)

    def key(self, name):
        """A key by its name of X. Gives the time just before it."""
        code = self._display.keysym_to_keycode(XK.string_to_keysym(name))
        return self._press_and_release(X.KeyPress, X.KeyRelease, code)

    def hold(self, name):
        self._modify(X.KeyPress, name)

    def release(self, name):
        self._modify(X.KeyRelease, name)

    def _modify(self, kind, name):
        xtest.fake_input(self._display, kind, self._display.keysym_to_keycode(XK.string_to_keysym(name)))
        self._display.sync()

    def _press_and_release(self, press, release, detail):
        self.forget()
        start = time.monotonic()
        xtest.fake_input(self._display, press, detail)
        xtest.fake_input(self._display, release, detail)
        self._display.flush()
        return start

    # What is to be seen

    def picture(self, area):
        image = self._root.get_image(area.x, area.y, area.width, area.height, X.ZPixmap, 0xFFFFFFFF)
        return Picture(image.data, area.width)

    def forget(self):
        """Lets go of what has been drawn so far."""
        self._display.sync()
        while self._display.pending_events():
            self._display.next_event()

    def await_frame(self, start, area, accepted):
        """Milliseconds from a start to the drawing in an area after which its picture is accepted."""
        while True:
            event = self._next(start)
            if event.type != self._damage or not overlaps(event.area, area):
                continue
            # The picture shows what was drawn since, too: the last of that counts.
            picture = self.picture(area)
            drawings = [event.timestamp]
            while self._display.pending_events():
                more = self._display.next_event()
                if more.type == self._damage and overlaps(more.area, area):
                    drawings.append(more.timestamp)
            if accepted(picture):
                return (drawings[-1] + 1 - start * 1000) % CARD32

    def await_window(self, start, smallest):
        """Milliseconds from a start until a large window is mapped, and its place."""
        while True:
            event = self._next(start)
            if event.type != X.MapNotify or event.event != self._root:
                continue
            mapped = (time.monotonic() - start) * 1000
            place = event.window.get_geometry()
            if place.width >= smallest[0] and place.height >= smallest[1]:
                return mapped, place

    def _next(self, start):
        while not self._display.pending_events():
            left = start + PATIENCE - time.monotonic()
            if left <= 0:
                raise RuntimeError(f"not drawn within {PATIENCE} seconds")
            select.select([self._display.fileno()], [], [], left)
        return self._display.next_event()


def overlaps(one, other):
    return (
        one.x < other.x + other.width
        and other.x < one.x + one.width
        and one.y < other.y + other.height
        and other.y < one.y + one.height
    )
