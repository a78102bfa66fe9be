# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

"""How busy the machine is with what is not measured."""

import time


def busy_share():
    """The part of the processors' time that others take at the moment. The load average would tell
    of the loads that this script has ended as well."""

    def ticks():
        with open("/proc/stat", encoding="ascii") as file:
            # proc(5): user, nice, system, idle, waiting for input and output, and others
            counted = [int(word) for word in file.readline().split()[1:]]
        return sum(counted), counted[3] + counted[4]

    total, idle = ticks()
    time.sleep(0.5)
    later_total, later_idle = ticks()
    return 1 - (later_idle - idle) / max(1, later_total - total)
