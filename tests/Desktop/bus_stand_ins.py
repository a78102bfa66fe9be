# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT
"""Services in the place of a desktop's: bus_stand_ins.py packagekit|notifications ADDRESS [FOLDER].

The first knows one installed package and an update of it. The second writes what it is given to
FOLDER/notifications, a line of JSON for each, and presses the last one when Press is called.
"""

import json
import pathlib
import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib

INSTALLED = (1, "tarnwick-sample;1.0;all;installed", "a sample")
UPDATE = (5, "tarnwick-sample;1.1;all;sample", "a sample")
EXIT_SUCCESS = 1

PACKAGEKIT = """<node><interface name="org.freedesktop.PackageKit">
<method name="CreateTransaction"><arg name="path" type="o" direction="out"/></method>
</interface></node>"""
TRANSACTION = """<node><interface name="org.freedesktop.PackageKit.Transaction">
<method name="SetHints"><arg name="hints" type="as"/></method>
<method name="SearchFiles"><arg name="filter" type="t"/><arg name="files" type="as"/></method>
<method name="RefreshCache"><arg name="force" type="b"/></method>
<method name="GetUpdates"><arg name="filter" type="t"/></method>
<method name="GetUpdateDetail"><arg name="ids" type="as"/></method>
</interface></node>"""
NOTIFICATIONS = """<node><interface name="org.freedesktop.Notifications">
<method name="GetCapabilities"><arg name="names" type="as" direction="out"/></method>
<method name="Notify"><arg name="application" type="s"/><arg name="replaced" type="u"/>
<arg name="icon" type="s"/><arg name="title" type="s"/><arg name="text" type="s"/>
<arg name="actions" type="as"/><arg name="hints" type="a{sv}"/><arg name="duration" type="i"/>
<arg name="id" type="u" direction="out"/></method>
<method name="CloseNotification"><arg name="id" type="u"/></method>
<method name="Press"/>
</interface></node>"""


class PackageKit:
    name = "org.freedesktop.PackageKit"
    path = "/org/freedesktop/PackageKit"
    description = PACKAGEKIT

    def __init__(self, bus, folder):
        self._bus = bus
        self._count = 0

    def call(self, bus, path, method, arguments, invocation):
        if method == "CreateTransaction":
            self._count += 1
            transaction = f"/transaction{self._count}"
            register(bus, transaction, TRANSACTION, self)
            invocation.return_value(GLib.Variant("(o)", (transaction,)))
            return
        invocation.return_value(None)
        packages = {"SearchFiles": [INSTALLED], "GetUpdates": [UPDATE]}.get(method, [])
        for package in packages:
            self._emit(path, "Package", GLib.Variant("(uss)", package))
        if method != "SetHints":
            self._emit(path, "Finished", GLib.Variant("(uu)", (EXIT_SUCCESS, 1)))

    def _emit(self, path, signal, values):
        self._bus.emit_signal(None, path, self.name + ".Transaction", signal, values)


class Notifications:
    name = "org.freedesktop.Notifications"
    path = "/org/freedesktop/Notifications"
    description = NOTIFICATIONS

    def __init__(self, bus, folder):
        self._bus = bus
        self._file = pathlib.Path(folder) / "notifications"
        self._last = 0

    def call(self, bus, path, method, arguments, invocation):
        result = None
        if method == "GetCapabilities":
            result = GLib.Variant("(as)", (["actions", "body"],))
        elif method == "Notify":
            self._last += 1
            with open(self._file, "a", encoding="utf-8") as output:
                output.write(json.dumps({"title": arguments[3], "actions": arguments[5]}) + "\n")
            result = GLib.Variant("(u)", (self._last,))
        elif method == "Press":
            bus.emit_signal(None, path, self.name, "ActionInvoked",
                            GLib.Variant("(us)", (self._last, "default")))
        invocation.return_value(result)


def register(bus, path, description, service):
    def called(bus, sender, path, interface, method, arguments, invocation):
        service.call(bus, path, method, arguments.unpack(), invocation)

    interface = Gio.DBusNodeInfo.new_for_xml(description).interfaces[0]
    bus.register_object(path, interface, called, None, None)


def main():
    kind, address, folder = (sys.argv[1:] + [None])[:3]
    bus = Gio.DBusConnection.new_for_address_sync(
        address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
        | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
    service = {"packagekit": PackageKit, "notifications": Notifications}[kind](bus, folder)
    register(bus, service.path, service.description, service)
    Gio.bus_own_name_on_connection(bus, service.name, Gio.BusNameOwnerFlags.NONE, None, None)
    GLib.MainLoop().run()


if __name__ == "__main__":
    main()
