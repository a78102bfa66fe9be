# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

"""Tables on a terminal."""


def laid_out(lines, right):
    """Lines of as many cells each, as text in columns; those whose numbers are in right are flush
    right."""
    widths = [max(map(len, column)) for column in zip(*lines)]
    return "\n".join(
        "  ".join(
            cell.rjust(width) if at in right else cell.ljust(width)
            for at, (cell, width) in enumerate(zip(line, widths))
        ).rstrip()
        for line in lines
    )
