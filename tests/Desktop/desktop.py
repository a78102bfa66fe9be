# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT
"""A desktop of the test's own: display, network, bus and window manager.

What it starts, it ends: by its process identifier, and with it whatever that started.
"""

import ctypes
import dataclasses
import fcntl
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

from isolation import bus_configuration, isolated_environment, make_services

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


class Desktop:
    """Use it in a with statement."""

    def __init__(self, scale=None, screen=SCREEN, accessible=True):
        """Programs tell assistive ones all that they do, which takes time, while accessible."""
        self.scale = scale
        self._screen = screen
        self._accessible = accessible
        self._processes = {}

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
        (self.folder / "logs").mkdir(mode=0o700)
        kept = {name: os.environ[name] for name in ("PATH", "LD_LIBRARY_PATH") if name in os.environ}
        for name, value in os.environ.items():
            if name.endswith("SAN_OPTIONS"):
                kept[name] = value
        self.environment = kept | isolated_environment(self.folder) | (
            ACCESSIBLE if self._accessible else {"NO_AT_BRIDGE": "1"})
        make_services(self.folder / "services")
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

    def start_bus(self):
        socket = self.folder / "run/bus"
        address = f"unix:path={socket}"
        configuration = self.folder / "run/bus.conf"
        configuration.write_text(bus_configuration(socket, self.folder / "services"))
        self.start("bus", ["dbus-daemon", "--nofork", "--nopidfile", f"--config-file={configuration}"])
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = address
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = address
        wait_for("the bus listens", socket.exists)

    def stop_bus(self):
        self._end(self._processes.pop("bus"))
        (self.folder / "run/bus").unlink(missing_ok=True)

    def start_window_manager(self):
        self.start("window manager", ["openbox"])
        wait_for("there is a window manager",
                 lambda: "0x" in self.run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"))

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

    def focused_window(self):
        text = self.run("xdotool", "getwindowfocus").strip()
        return int(text) if text else 0

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
