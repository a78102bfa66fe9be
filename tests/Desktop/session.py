# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT
"""A desktop of the test's own: display, bus, window manager, tray, and Tarnwick among them.

What a session starts, it ends: by its process identifier, and with it whatever that started.
"""

import ctypes
import dataclasses
import fcntl
import json
import os
import pathlib
import re
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time

PATIENCE = float(os.environ.get("TARNWICK_PATIENCE", "60"))  # seconds
SCREEN = (1280, 800)
PR_SET_PDEATHSIG = 1  # prctl(2)
PR_SET_CHILD_SUBREAPER = 36
CLONE_NEWUSER = 0x10000000  # unshare(2)
CLONE_NEWNET = 0x40000000
SIOCSIFFLAGS = 0x8914  # netdevice(7)
IFF_UP = 1
LIBRARY = ctypes.CDLL(None, use_errno=True)


@dataclasses.dataclass(frozen=True)
class Rect:
    """A rectangle of the screen."""

    x: int
    y: int
    width: int
    height: int

    @property
    def middle(self):
        return self.x + self.width // 2, self.y + self.height // 2

    def holds(self, other):
        return (self.x <= other.x and self.y <= other.y
                and other.x + other.width <= self.x + self.width
                and other.y + other.height <= self.y + self.height)


def wait_for(what, condition, patience=PATIENCE):
    """The first true value of the condition; fails when there is none in time."""
    end = time.monotonic() + patience
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError(f"did not happen in {patience:.0f} s: {what}")
        time.sleep(0.01)


def appears(condition, duration=1):
    """Whether the condition becomes true in that time."""
    try:
        return wait_for("", condition, duration)
    except AssertionError:
        return None


def stays(what, condition, duration):
    """Fails when the condition is not true all the time."""
    end = time.monotonic() + duration
    while time.monotonic() < end:
        assert condition(), f"did not last {duration} s: {what}"
        time.sleep(0.02)


def end_with_us():
    """For a process that is being started: it ends when the test is killed."""
    LIBRARY.prctl(PR_SET_PDEATHSIG, signal.SIGKILL, 0, 0, 0)


def children_of(pid):
    found = []
    for tasks in pathlib.Path(f"/proc/{pid}/task").glob("*/children"):
        try:
            found += [int(child) for child in tasks.read_text().split()]
        except OSError:
            pass
    return found


ACCESSIBLE = {
    "GTK_MODULES": "gail:atk-bridge",
    "NO_AT_BRIDGE": "0",
    "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
}

LISTENER = """
import socket, sys, threading
server = socket.create_server(("127.0.0.1", int(sys.argv[1])))
threading.Event().wait()
"""


def is_taken(port):
    """Whether somebody listens on that port of the loopback address."""
    with socket.socket() as probe:
        return probe.connect_ex(("127.0.0.1", port)) == 0


def command_line(pid):
    try:
        return pathlib.Path(f"/proc/{pid}/cmdline").read_text()
    except OSError:
        return ""


def expect(condition, what):
    if not condition:
        raise AssertionError(what)


def leave_network():
    """Moves to a network of our own, where nobody listens but who is started here. Whether it may."""
    user, group = os.getuid(), os.getgid()
    if LIBRARY.unshare(CLONE_NEWNET) != 0:
        if LIBRARY.unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0:
            return False
        pathlib.Path("/proc/self/setgroups").write_text("deny")
        pathlib.Path("/proc/self/uid_map").write_text(f"{user} {user} 1")
        pathlib.Path("/proc/self/gid_map").write_text(f"{group} {group} 1")
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        fcntl.ioctl(probe, SIOCSIFFLAGS, struct.pack("16sh14x", b"lo", IFF_UP))
    return True


class NotPermitted(Exception):
    """The machine does not let us have what the scenario needs."""


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


class Session:
    """Use it in a with statement. The programs of Tarnwick are those of a build's bin folder."""

    def __init__(self, programs, tray="panel", late=False, scale=None, screen=SCREEN,
                 accessible=True):
        """With late, it is the test that starts the tray: the one that late_tray names. Programs
        tell assistive ones all that they do, which takes time, while accessible."""
        self.programs = pathlib.Path(programs).resolve()
        self.scale = scale
        self.late_tray = tray
        self._tray_kind = None if late else tray
        self._screen = screen
        self._accessible = accessible
        self._processes = {}

    # Life

    def __enter__(self):
        # Whoever loses its parent becomes ours, so that it can be ended too.
        LIBRARY.prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="tarnwick-desktop-"))
        try:
            self._start_desktop()
        except BaseException:
            self.__exit__(*sys.exc_info())
            raise
        return self

    def __exit__(self, kind, value, trace):
        if kind is not None:
            self._tell_what_was_seen()
        for process in list(self._processes.values())[::-1]:
            self._end(process)
        self._end_strays()
        shutil.rmtree(self.folder, ignore_errors=True)

    def _start_desktop(self):
        home = self.folder / "home"
        for name in ("home", "run", "logs"):
            (self.folder / name).mkdir(mode=0o700)
        kept = {name: os.environ[name] for name in ("PATH", "LD_LIBRARY_PATH") if name in os.environ}
        for name, value in os.environ.items():
            if name.endswith("SAN_OPTIONS"):
                kept[name] = value
        self.environment = kept | {
            "HOME": str(home),
            "LANG": "C.UTF-8",
            "XDG_RUNTIME_DIR": str(self.folder / "run"),
            "XDG_CONFIG_HOME": str(home / ".config"),
            "XDG_DATA_HOME": str(home / ".local/share"),
            "XDG_CACHE_HOME": str(home / ".cache"),
        } | (ACCESSIBLE if self._accessible else {"NO_AT_BRIDGE": "1"})
        if self.scale:
            self.environment["QT_SCALE_FACTOR"] = str(self.scale)
        read, write = os.pipe()
        width, height = self._screen
        self.start("display", ["Xvfb", "-displayfd", str(write), "-nolisten", "tcp", "-noreset",
                               "-screen", "0", f"{width}x{height}x24"], pass_fds=(write,))
        os.close(write)
        with os.fdopen(read) as number:
            self.environment["DISPLAY"] = f":{int(number.readline())}"
        # The display stays in the network of the machine: there its number is its own.
        if not leave_network():
            raise NotPermitted
        self.start_bus()
        os.environ["DISPLAY"] = self.environment["DISPLAY"]
        self.start_window_manager()
        if self._tray_kind:
            self.start_tray()

    def start_bus(self):
        address = f"unix:path={self.folder}/run/bus"
        self.start("bus", ["dbus-daemon", "--session", "--nofork", "--nopidfile",
                           f"--address={address}"])
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = address
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = address
        wait_for("the bus listens", (self.folder / "run/bus").exists)

    def stop_bus(self):
        self._end(self._processes.pop("bus"))
        (self.folder / "run/bus").unlink(missing_ok=True)

    def start_window_manager(self):
        self.start("window manager", ["openbox"])
        wait_for("there is a window manager",
                 lambda: "0x" in self.run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"))

    def start_tray(self, kind=None):
        """The tray of a desktop ("panel", StatusNotifierItem), or one that embeds ("trayer")."""
        self._tray_kind = kind or self._tray_kind
        if self._tray_kind == "panel":
            self.start("tray", ["xfce4-panel", "--disable-wm-check"])
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

    def start(self, name, command, pass_fds=(), environment=None, folder=None, stdout=None):
        """With stdout, a descriptor, that is where the output goes; errors are kept all the same."""
        log = self.folder / "logs" / name.replace(" ", "-")
        with open(log, "ab") as output:
            process = subprocess.Popen(
                command, env=self.environment | (environment or {}), stdin=subprocess.DEVNULL,
                stdout=output if stdout is None else stdout, stderr=output, pass_fds=pass_fds, preexec_fn=end_with_us,
                process_group=0, cwd=folder or self.environment["HOME"])
        self._processes[name] = process
        return process

    def stop(self, name):
        self._end(self._processes.pop(name))

    def _end(self, process):
        if process.poll() is None:
            process.terminate()
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()

    def _end_strays(self):
        """Ends what became ours: services that the bus started, helpers of programs."""
        end = time.monotonic() + 20
        while children := children_of(os.getpid()):
            for child in children:
                for one in [*children_of(child), child]:
                    try:
                        os.kill(one, signal.SIGTERM if time.monotonic() + 15 < end
                                else signal.SIGKILL)
                    except ProcessLookupError:
                        pass
            try:
                while os.waitpid(-1, os.WNOHANG)[0]:
                    pass
            except ChildProcessError:
                break
            if time.monotonic() > end:
                break
            time.sleep(0.02)

    def _tell_what_was_seen(self):
        for log in sorted((self.folder / "logs").glob("*")):
            text = log.read_text(errors="replace")
            if text and log.name not in ("bus",):
                print(f"--- {log.name}\n{text[-4000:]}", file=sys.stderr)
        print("--- windows\n" + self.run("wmctrl", "-lpGx"), file=sys.stderr)
        kept = os.environ.get("TARNWICK_PICTURES")
        if kept and "DISPLAY" in self.environment:
            self.picture(pathlib.Path(kept) / f"failed-{os.getpid()}.png")

    # The desktop

    def run(self, *command):
        """What a small program prints; nothing when it fails."""
        result = subprocess.run(command, env=self.environment, stdin=subprocess.DEVNULL,
                                capture_output=True, text=True, timeout=PATIENCE, check=False)
        return result.stdout

    def picture(self, path, area=None):
        crop = ["-crop", f"{area.width}x{area.height}+{area.x}+{area.y}", "+repage"] if area else []
        self.run("import", "-silent", "-window", "root", *crop, str(path))

    def settle(self, duration=0.4):
        """Waits for animations to end: for pictures only, tests wait for what they need."""
        time.sleep(duration)

    def point(self, x, y):
        self.run("xdotool", "mousemove", str(x), str(y))

    def click(self, x, y, button=1):
        self.run("xdotool", "mousemove", str(x), str(y), "click", str(button))

    def key(self, *keys):
        self.run("xdotool", "key", "--clearmodifiers", *keys)

    def type(self, text):
        self.run("xdotool", "type", "--delay", "20", text)

    def geometry(self, window):
        text = self.run("xwininfo", "-id", str(window))
        numbers = [re.search(pattern + r":\s+(-?\d+)", text) for pattern in (
            "Absolute upper-left X", "Absolute upper-left Y", "Width", "Height")]
        return Rect(*(int(number[1]) for number in numbers)) if all(numbers) else None

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

    def await_panel(self):
        """Waits for the panel, and for the keyboard to be in it."""
        window, place = wait_for("the panel is shown", self.popover)
        wait_for("the keyboard is in the panel", lambda: self.focused_window() == window)
        return window, place

    def bubble(self):
        return self.window_of_size(260, 96)

    def focused_window(self):
        text = self.run("xdotool", "getwindowfocus").strip()
        return int(text) if text else 0

    # The tray

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

    # What assistive programs see

    def accessible(self, role=None, name=None, within=None, root=None):
        """The objects of a role and of a name, where one is told, within one of another role."""
        import pyatspi
        found = []

        def search(node, inside):
            try:
                matches = role in (None, node.getRoleName()) and name in (None, node.name)
                if matches and inside:
                    found.append(node)
                inside = inside or node.getRoleName() == within
                for index in range(node.childCount):
                    child = node.getChildAtIndex(index)
                    if child:
                        search(child, inside)
            except Exception:  # the object is gone meanwhile, in whatever way that is told
                return

        if not root:
            root = pyatspi.Registry.getDesktop(0)
            # What has changed is told by events, for which nobody waits here.
            for index in range(root.childCount):
                if application := root.getChildAtIndex(index):
                    application.clear_cache()
            root.clear_cache()
        search(root, within is None)
        return found

    def place_of(self, node):
        try:
            extents = node.queryComponent().getExtents(0)
        except (NotImplementedError, RuntimeError):
            return None
        place = Rect(extents.x, extents.y, extents.width, extents.height)
        return place if place.x > -10000 and place.width > 1 else None

    def row(self, port):
        """The place of the row of a port."""
        for row in self.accessible("list item"):
            if f"port {port}," in row.name:
                return self.place_of(row)
        return None

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

    def start_other_window(self):
        """A window of another program, which takes the keyboard."""
        self.start("other window", ["xmessage", "-name", "other", "-geometry",
                                    "200x80+100+300", "Another window"])

        def has_keyboard():
            found = self.run("xdotool", "search", "--onlyvisible", "--classname", "^other$")
            for window in found.split():
                self.run("xdotool", "windowactivate", window)
                if self.focused_window() == int(window):
                    return True
            return False

        wait_for("another window has the keyboard", has_keyboard)

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

    def focused_name(self):
        """The accessible name of what has the keyboard."""
        import pyatspi
        for role in ("list item", "text", "push button", "page tab"):
            for node in self.accessible(role):
                try:
                    if node.getState().contains(pyatspi.STATE_FOCUSED):
                        return node.name
                except Exception:  # gone meanwhile
                    continue
        return ""

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
