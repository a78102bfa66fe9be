# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

"""The programs that list, how long each takes, and whether they agree."""

import json
import os
import re
import shutil
import subprocess
import time
from collections import defaultdict

from listing_load import LineReader, PATIENCE

OURS = "tarnwickctl list --json"
OURS_WITH_RULES = "tarnwickctl list --json, with rules for tiers"
SS = "ss -H -ltnp"
LSOF = "lsof -nP -iTCP -sTCP:LISTEN"


def holders_by_port(pairs):
    """{port: {pid, ...}} of (port, pid) pairs."""
    found = defaultdict(set)
    for port, pid in pairs:
        found[port].add(pid)
    return found


def ss_sockets(text):
    """(address, port, frozenset of pids) for each socket that ss names."""
    sockets = []
    for line in text.splitlines():
        address, port = line.split()[3].rsplit(":", 1)
        pids = re.findall(r'",pid=(\d+),fd=\d+\)', line)
        sockets.append((address, int(port), frozenset(map(int, pids))))
    return sockets


def ss_pairs(text):
    return {(port, pid) for _, port, pids in ss_sockets(text) for pid in pids}


def lsof_pairs(text):
    # COMMAND PID USER FD TYPE DEVICE SIZE/OFF NODE NAME (LISTEN), with no blank within a column
    rows = (line.split() for line in text.splitlines()[1:])
    return {(int(row[-2].rsplit(":", 1)[1]), int(row[1])) for row in rows}


def our_pairs(text):
    return {(record["port"], record["pid"]) for record in json.loads(text)}


def probe_pairs(text):
    return {tuple(map(int, pair.split(":"))) for pair in text.split()}


class Tool:
    """A program that lists and ends, timed from before its start to after its end."""

    ENVIRONMENT = {"LC_ALL": "C", "PATH": os.defpath}
    # What ss and lsof do not tell, either, is left out, unless that is what is measured.
    WITHOUT_RULES = {"TARNWICK_TIERS": "none"}

    def __init__(self, name, folder=None):
        command, *options = name.split(", ")
        program, *arguments = command.split()
        self._environment = self.ENVIRONMENT | ({} if options else self.WITHOUT_RULES)
        self.name = name
        self._path = shutil.which(program, path=folder or os.environ["PATH"])
        if self._path is None:
            raise FileNotFoundError(f"{program} is not installed")
        self._arguments = [program, *arguments]
        # Memory takes the output without anybody reading along, the same for each program.
        self._output = os.memfd_create(program)
        self._nothing = os.open(os.devnull, os.O_RDWR)
        self._actions = [
            (os.POSIX_SPAWN_DUP2, self._nothing, 0),
            (os.POSIX_SPAWN_DUP2, self._output, 1),
            (os.POSIX_SPAWN_DUP2, self._nothing, 2),
        ]

    def run(self):
        """(milliseconds, output) of one run."""
        os.ftruncate(self._output, 0)
        os.lseek(self._output, 0, os.SEEK_SET)
        start = time.perf_counter_ns()
        pid = os.posix_spawn(
            self._path, self._arguments, self._environment, file_actions=self._actions
        )
        _, status, _ = os.wait4(pid, 0)
        end = time.perf_counter_ns()
        if status != 0:
            raise RuntimeError(f"{self.name} failed: {os.waitstatus_to_exitcode(status)}")
        size = os.fstat(self._output).st_size
        return (end - start) / 1e6, os.pread(self._output, size, 0).decode(errors="replace")


class Probe:
    """A living inventory in a process of its own, asked for one scan at a time."""

    def __init__(self, bin_folder, user=None):
        arguments = [] if user is None else ["--user", str(user)]
        self._program = subprocess.Popen(
            [os.path.join(bin_folder, "inventory-probe"), *arguments],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
        )
        self._reader = LineReader(self._program.stdout)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._program.stdin.close()
        self._program.stdout.close()
        self._program.wait(PATIENCE)

    def scan(self, count=1):
        """The milliseconds of one scan; of several, their median."""
        return float(self._ask(f"scan {count}"))

    def cold(self):
        return float(self._ask("cold"))

    def pairs(self):
        return probe_pairs(self._ask("pairs"))

    def resident_kb(self):
        return int(self._ask("memory"))

    def _ask(self, command):
        self._program.stdin.write(f"{command}\n".encode())
        self._program.stdin.flush()
        answer = self._reader.line()
        if answer is None:
            raise RuntimeError("inventory-probe has ended")
        return answer


def differences_from_load(who, pairs, expected):
    """What a listing tells otherwise than it is about the listeners of a load, in which other
    processes, too, may use a port, at another address. `expected` is {port: {pid, ...}}."""
    of_load = set().union(*expected.values())
    named = holders_by_port(pairs)
    for port, pids in expected.items():
        told = named[port] & of_load
        if told != pids:
            yield f"{who}: port {port} is held by {sorted(pids)}, not by {sorted(told)}"


def differences_from_ss(before, ours, after):
    """Where we disagree with ss about a listener whose owner it names. Only what ss told alike
    before and after us counts: whatever else runs here comes and goes as it likes."""
    named = holders_by_port(ours)
    sockets = defaultdict(list)
    for socket in before:
        sockets[socket[1]].append(socket)
    later = defaultdict(list)
    for socket in after:
        later[socket[1]].append(socket)
    for port, here in sockets.items():
        if sorted(here, key=repr) != sorted(later[port], key=repr):
            continue
        for _, _, pids in here:
            if pids and not pids & named[port]:
                yield f"port {port}: ss names {sorted(pids)}, we name {sorted(named[port])}"
        strangers = named[port] - set().union(*(pids for _, _, pids in here)) - {0}
        if strangers and all(pids for _, _, pids in here):
            yield f"port {port}: we name {sorted(strangers)}, and ss does not"
