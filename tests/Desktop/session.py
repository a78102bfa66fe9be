# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT
"""A desktop of the test's own with a tray, listeners, and Tarnwick among them."""

import json
import os
import pathlib
import re
import shutil
import socket
import sys
import time

from accessibility import Accessibility
from desktop import Desktop, NotPermitted, children_of, command_line, wait_for

LISTENER = """
import socket, sys, threading
server = socket.create_server(("127.0.0.1", int(sys.argv[1])))
threading.Event().wait()
"""


def is_taken(port):
    """Whether somebody listens on that port of the loopback address."""
    with socket.socket() as probe:
        return probe.connect_ex(("127.0.0.1", port)) == 0


def play(scenario, **options):
    """Runs a scenario as a program: SCRIPT PROGRAMS [TRAY]."""
    if len(sys.argv) > 2:
        options["tray"] = None if sys.argv[2] == "none" else sys.argv[2]
    try:
        with Session(sys.argv[1], **options) as session:
            scenario(session)
    except NotPermitted:
        print("skipped: a network of our own is not to be had", file=sys.stderr)
        sys.exit(77)


class Session(Desktop, Accessibility):
    """Use it in a with statement. The programs of Tarnwick are those of a build's bin folder."""

    def __init__(self, programs, tray="panel", late=False, **desktop):
        """With late, it is the test that starts the tray: the one that late_tray names."""
        super().__init__(**desktop)
        self.programs = pathlib.Path(programs).resolve()
        self.late_tray = tray
        self._tray_kind = None if late else tray

    def _start_desktop(self):
        super()._start_desktop()
        if self._tray_kind:
            self.start_tray()

    # The tray

    def start_tray(self, kind=None):
        """The tray of a desktop ("panel", StatusNotifierItem), or one that embeds ("trayer")."""
        self._tray_kind = kind or self._tray_kind
        if self._tray_kind == "panel":
            # Newer panels look for their plugins among the data, under no path but this one.
            data = self.environment["XDG_DATA_DIRS"] + ":/usr/share"
            self.start("tray", ["xfce4-panel", "--disable-wm-check"],
                       environment={"XDG_DATA_DIRS": data})
            wait_for("there is a tray", lambda: "boolean true" in self.run(
                "dbus-send", "--session", "--print-reply=literal", "--dest=org.kde.StatusNotifierWatcher",
                "/StatusNotifierWatcher", "org.freedesktop.DBus.Properties.Get",
                "string:org.kde.StatusNotifierWatcher", "string:IsStatusNotifierHostRegistered"))
        else:
            self.start("tray", ["trayer", "--edge", self.trayer_edge, "--align", "right", "--widthtype",
                                "request", "--height", "24"] + self.trayer_options)
            wait_for("there is a tray", lambda: "owner" in self.selection_owner())

    trayer_edge = "top"
    trayer_options = []

    def stop_tray(self):
        self.stop("tray")

    @property
    def tray_kind(self):
        return self._tray_kind

    def selection_owner(self):
        """Whether a tray that embeds is there."""
        from Xlib import display
        screen = display.Display(self.environment["DISPLAY"])
        try:
            owner = screen.get_selection_owner(screen.intern_atom("_NET_SYSTEM_TRAY_S0"))
            return "owner" if owner else ""
        finally:
            screen.close()

    def icon(self):
        """The place of Tarnwick's icon, when it is there."""
        if "tray" not in self._processes:
            return None
        if self._tray_kind == "panel":
            # The panel has a window for its icons, drawn by another process; ours is the only one.
            places = [self.geometry(window) for pid in children_of(self._processes["tray"].pid)
                      if "libsystray" in command_line(pid)
                      for window in self.run("xdotool", "search", "--onlyvisible", "--all",
                                             "--pid", str(pid), "--name", "wrapper").split()]
            icons = [place for place in places if place and place.width > 20]
            return icons[0] if icons else None
        icons = [place for _, place in self.windows() if max(place.width, place.height) <= 48]
        return icons[0] if icons and icons[0].x >= 0 else None

    def await_icon(self):
        place = wait_for("the icon is in the tray", self.icon)
        # Trays move their icons as they get them.
        while True:
            time.sleep(0.1)
            now = self.icon()
            if now and now == place:
                return place
            place = now

    def click_icon(self, button=1):
        self.click(*self.await_icon().middle, button)

    # Listeners

    def listen(self, port, program="home/work/server", arguments=(), name=None, folder="home",
               script="serve"):
        """A process of the test's own that listens. Its executable is a copy of a program."""
        path = pathlib.Path(program) if program.startswith("/") else self.folder / program
        if not path.exists():
            path.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(os.path.realpath("/usr/bin/python3"), path)
        folder = self.folder / folder
        folder.mkdir(parents=True, exist_ok=True)
        (folder / script).write_text(LISTENER)
        listener = self.start(
            name or f"listener-{port}", [str(path), script, str(port), *arguments], folder=folder,
            environment={"PYTHONHOME": "/usr", "PYTHONDONTWRITEBYTECODE": "1"})
        wait_for(f"somebody listens on port {port}", lambda: is_taken(port))
        return listener

    # Tarnwick

    @property
    def app(self):
        return self._processes["tarnwick"]

    def start_tarnwick(self, *arguments, environment=None, stdout=None):
        return self.start("tarnwick", [str(self.programs / "tarnwick"), *arguments],
                          environment=environment, stdout=stdout)

    def stop_tarnwick(self):
        self.stop("tarnwick")

    def windows(self, pid=None):
        """The visible windows of Tarnwick: identifier and place."""
        pid = pid or self.app.pid
        found = self.run("xdotool", "search", "--all", "--onlyvisible", "--pid", str(pid), "--class", "tarnwick")
        places = [(int(line), self.geometry(line)) for line in found.split()]
        return [(window, place) for window, place in places if place]

    def window_of_size(self, width, height):
        scale = self.scale or 1
        for window, place in self.windows():
            if (place.width, place.height) == (width * scale, height * scale):
                return window, place
        return None

    def popover(self):
        """The panel's window and its place, when it is shown."""
        return self.window_of_size(560, 500)

    def await_keyboard(self):
        """Waits for the keyboard to be in a window of Tarnwick's."""
        wait_for("the keyboard is in a window of Tarnwick's",
                 lambda: self.focused_window() in [window for window, _ in self.windows()])

    def await_panel(self):
        """Waits for the panel, and for the keyboard to be in it."""
        window, place = wait_for("the panel is shown", self.popover)
        wait_for("the keyboard is in the panel", lambda: self.focused_window() == window)
        return window, place

    def bubble(self):
        return self.window_of_size(260, 96)

    def status_items(self):
        """What Tarnwick has on the bus for a tray."""
        names = self.run("busctl", "--user", "--json=short", "list")
        return set(re.findall(r"org\.kde\.StatusNotifierItem-\d+-\d+", names))

    def exported_menu(self):
        """The titles of the menu that the tray gets to show; nothing when it gets none."""
        items = sorted(self.status_items())
        if not items:
            return None
        layout = self.run("busctl", "--user", "--json=short", "call", items[0], "/MenuBar",
                          "com.canonical.dbusmenu", "GetLayout", "iias", "0", "-1", "0")
        entries = json.loads(layout)["data"][1][2]
        return [entry["data"][1].get("label", {}).get("data", "").replace("_", "", 1)
                for entry in entries]

    def menu(self):
        """The place of a menu that is open: the tray's, or one of Tarnwick's own."""
        found = self.run("xdotool", "search", "--onlyvisible", "--class", ".*").split()
        menus = [self.geometry(window) for window in found if "_MENU" in self.run(
            "xprop", "-id", window, "_NET_WM_WINDOW_TYPE")]
        menus += [place for _, place in self.windows() if 60 < place.height < 200]
        menus = [place for place in menus if place and place.height > 60]
        return menus[0] if menus else None

    def await_menu(self):
        return wait_for("the menu is shown", self.menu)

    def output(self):
        return (self.folder / "logs/tarnwick").read_text(errors="replace")

    def await_line(self, text):
        wait_for(f"Tarnwick writes {text!r}", lambda: text in self.output())

    @property
    def settings_file(self):
        return pathlib.Path(self.environment["XDG_CONFIG_HOME"]) / "velmora/tarnwick.conf"

    def write_settings(self, **values):
        self.settings_file.parent.mkdir(parents=True, exist_ok=True)
        lines = [f"{name}={value}" for name, value in values.items()]
        self.settings_file.write_text("[General]\n" + "\n".join(lines) + "\n")

    def after_first_run(self):
        self.write_settings(hasSeenMenuBarOnboarding="true")
