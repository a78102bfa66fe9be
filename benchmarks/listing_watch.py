# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

"""What `tarnwickctl watch` on a terminal costs while nothing changes."""

import fcntl
import os
import pty
import struct
import subprocess
import termios
import time

from listing_load import PATIENCE

ROWS, COLUMNS = 24, 80
STEP = 0.5  # seconds between two reads of the terminal, which holds some 4 kB


def processor_seconds(pid):
    """The processor time of all threads of a process, which the kernel counts in nanoseconds."""
    return time.clock_gettime((~pid << 3) | 2)  # clock_getcpuclockid(3)


class Watch:
    """A running watch on a terminal of its own."""

    def __init__(self, bin_folder):
        self._terminal, program_end = pty.openpty()
        fcntl.ioctl(program_end, termios.TIOCSWINSZ, struct.pack("4H", ROWS, COLUMNS, 0, 0))
        os.set_blocking(self._terminal, False)
        self._program = subprocess.Popen(
            [os.path.join(bin_folder, "tarnwickctl"), "watch"],
            stdin=program_end,
            stdout=program_end,
            stderr=program_end,
            env={"TERM": "xterm-256color", "PATH": os.defpath},
        )
        os.close(program_end)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._program.terminate()
        self.read()
        self._program.wait(PATIENCE)
        os.close(self._terminal)

    def read(self):
        """What it has written since the last call."""
        text = b""
        try:
            while part := os.read(self._terminal, 65536):
                text += part
        except OSError:  # nothing more, or the program has ended
            pass
        return text

    def run(self, seconds):
        """Lets it run for some time; gives the share of a processor that it took."""
        begin, used = time.monotonic(), processor_seconds(self._program.pid)
        while time.monotonic() - begin < seconds:
            time.sleep(STEP)
            self.read()
        taken = time.monotonic() - begin
        return (processor_seconds(self._program.pid) - used) / taken
