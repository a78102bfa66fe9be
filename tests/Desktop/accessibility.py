# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT
"""What assistive programs see of the programs of a desktop."""

from desktop import Rect


# What newer versions of the accessibility interface call roles, in the words of the older ones.
ROLES = {"button": "push button"}


def role_of(node):
    name = node.getRoleName()
    return ROLES.get(name, name)


class Accessibility:
    """For a desktop whose programs are accessible."""

    def accessible(self, role=None, name=None, within=None, root=None):
        """The objects of a role and of a name, where one is told, within one of another role."""
        import pyatspi
        found = []

        def search(node, inside):
            try:
                matches = role in (None, role_of(node)) and name in (None, node.name)
                if matches and inside:
                    found.append(node)
                inside = inside or role_of(node) == within
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

    def focused_name(self):
        """The accessible name of what has the keyboard."""
        import pyatspi
        for role in ("list item", "text", "push button", "page tab", "check box", "slider"):
            for node in self.accessible(role):
                try:
                    if node.getState().contains(pyatspi.STATE_FOCUSED):
                        return node.name
                except Exception:  # gone meanwhile
                    continue
        return ""
