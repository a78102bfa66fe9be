# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

"""What to type in the search, so that each key changes the list."""

VISIBLE = 5  # rows that the panel shows at least
LONGEST_PORT = 5  # digits


def found(ports, everywhere, text):
    """The ports of the rows that a search for the text leaves. Each row is found by its port, and by
    the texts that all of them have."""
    if any(text in one for one in everywhere):
        return ports
    return [port for port in ports if text in str(port)]


def changes(ports, everywhere, before, keys):
    """Whether each of the keys, typed after what is there before, changes the rows in sight and
    leaves some."""
    text, seen = before, found(ports, everywhere, before)[:VISIBLE]
    for key in keys:
        text += key
        left = found(ports, everywhere, text)[:VISIBLE]
        if not left or left == seen:
            return False
        seen = left
    return True


def keys_that_change(ports, everywhere):
    """A text to type beforehand and two digits to type then, each of which changes the rows in sight.
    The ports are in order. None when there are none."""
    for length in range(LONGEST_PORT - 1):
        for port in ports:
            end = str(port)[-2 - length:]
            before, keys = end[:-2], end[-2:]
            if len(before) == length and changes(ports, everywhere, before, keys):
                return before, keys
    return None
