# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

"""The processes that listen while something is measured."""

import dataclasses
import os
import select
import subprocess
import time

PATIENCE = 120  # seconds that a load may take to start, or a program to answer


class LineReader:
    """Lines from a pipe, each awaited with a bound."""

    def __init__(self, pipe):
        self._descriptor = pipe.fileno()
        self._pending = b""

    def line(self):
        """The next line without its end. None when the other side is gone."""
        deadline = time.monotonic() + PATIENCE
        while b"\n" not in self._pending:
            left = deadline - time.monotonic()
            if left <= 0 or not select.select([self._descriptor], [], [], left)[0]:
                raise RuntimeError(f"no answer within {PATIENCE} seconds")
            more = os.read(self._descriptor, 65536)
            if not more:
                return None
            self._pending += more
        line, self._pending = self._pending.split(b"\n", 1)
        return line.decode()


@dataclasses.dataclass(frozen=True)
class Shape:
    """What inventory-load is to start; its options have the same names."""

    processes: int
    listening: int
    listeners: int
    descriptors: int
    workers: int = 0
    before: int = 20  # a server listens before it accepts; none has many others open by then

    def arguments(self, seed):
        named = {**dataclasses.asdict(self), "seed": seed}
        return [word for name, value in named.items() for word in (f"--{name}", str(value))]


class Load:
    """A running load. Its processes end when it is closed, and with this process at the latest."""

    def __init__(self, bin_folder, shape, seed):
        self.owners = {}  # port: the one process that opened the socket, as a set
        self.holders = {}  # port: the set of all processes that have it
        self.processes = []
        self._program = subprocess.Popen(
            [os.path.join(bin_folder, "inventory-load"), *shape.arguments(seed)],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
        )
        self._reader = LineReader(self._program.stdout)
        try:
            expected = shape.processes * (1 + shape.workers)
            while len(self.processes) < expected:
                self._hear()
        except BaseException:
            self.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        self._program.stdin.close()
        self._program.stdout.close()
        self._program.wait(PATIENCE)

    def listen_once_more(self, pid):
        """Has a process of the load open one more listener; gives its port."""
        self._program.stdin.write(f"open {pid}\n".encode())
        self._program.stdin.flush()
        return self._hear()

    def _hear(self):
        line = self._reader.line()
        if line is None:
            raise RuntimeError("the load ended before it was complete")
        what, rest = line.split(" ", 1)
        if what == "failed":
            raise RuntimeError(f"the load cannot be made: {rest}")
        if what == "process":
            self.processes.append(int(rest))
            return None
        port, pid = map(int, rest.split())
        if what == "owns":
            self.owners[port] = {pid}
        self.holders.setdefault(port, set()).add(pid)
        return port
