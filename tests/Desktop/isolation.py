# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT
"""What the programs of a test's desktop find of the machine: the files named here and no others.

Other services, autostart entries, applications and defaults of whoever works on this machine are
not found, so that a test means the same everywhere.
"""

import pathlib
import shutil

BUS = """<busconfig>
<type>session</type>
<listen>unix:path={socket}</listen>
<auth>EXTERNAL</auth>
{services}
<policy context="default">
<allow user="*"/>
<allow own="*"/>
<allow eavesdrop="true"/>
<allow send_destination="*" eavesdrop="true"/>
</policy>
<limit name="max_incoming_bytes">1000000000</limit>
<limit name="max_outgoing_bytes">1000000000</limit>
<limit name="max_message_size">1000000000</limit>
</busconfig>
"""

# One bar at the top with nothing but icons, at its right end.
PANEL = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="length" type="uint" value="100"/>
      <property name="size" type="uint" value="26"/>
      <property name="icon-size" type="uint" value="16"/>
      <property name="plugin-ids" type="array">
        <value type="int" value="1"/>
        <value type="int" value="2"/>
      </property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="separator">
      <property name="expand" type="bool" value="true"/>
      <property name="style" type="uint" value="0"/>
    </property>
    <property name="plugin-2" type="string" value="systray">
      <property name="square-icons" type="bool" value="true"/>
    </property>
  </property>
</channel>
"""

SERVICES = pathlib.Path("/usr/share/dbus-1/services")
# Accessibility, and where the panel keeps its settings.
SERVICES_NEEDED = ("org.a11y.Bus", "org.xfce.Xfconf")
DATA_NEEDED = ("glib-2.0", "icons", "mime", "themes")
CONFIGURATION_NEEDED = ("openbox/rc.xml",)


def bus_configuration(socket, services=None):
    """What dbus-daemon(1) needs for a bus at that path, with the services of one folder or none."""
    folder = f"<servicedir>{services}</servicedir>" if services else ""
    return BUS.format(socket=socket, services=folder)


def make_services(folder):
    """The services that a bus of a test starts by itself: those that its desktop needs."""
    folder.mkdir()
    for name in SERVICES_NEEDED:
        file = SERVICES / f"{name}.service"
        if file.exists():
            lines = file.read_text().splitlines(keepends=True)
            # No service manager starts it in its own way.
            (folder / file.name).write_text("".join(
                line for line in lines if not line.startswith("SystemdService")))


def isolated_environment(folder):
    """The environment of programs that find below that folder what they would on the machine."""
    home = folder / "home"
    data = folder / "share"
    configuration = folder / "etc"
    for path in (folder / "run", home, data, configuration):
        path.mkdir(mode=0o700, exist_ok=True)
    for name in DATA_NEEDED:
        (data / name).symlink_to(pathlib.Path("/usr/share") / name)
    for name in CONFIGURATION_NEEDED:
        file = pathlib.Path("/etc/xdg") / name
        if file.exists():
            (configuration / name).parent.mkdir(parents=True)
            shutil.copy(file, configuration / name)
    panel = configuration / "xfce4/panel/default.xml"
    panel.parent.mkdir(parents=True)
    panel.write_text(PANEL)
    return {
        "HOME": str(home),
        "LANG": "C.UTF-8",
        "XDG_RUNTIME_DIR": str(folder / "run"),
        "XDG_CONFIG_HOME": str(home / ".config"),
        "XDG_CONFIG_DIRS": str(configuration),
        "XDG_DATA_HOME": str(home / ".local/share"),
        "XDG_DATA_DIRS": str(data),
        "XDG_CACHE_HOME": str(home / ".cache"),
        "XDG_STATE_HOME": str(home / ".local/state"),
        "TARNWICK_TIERS": "none",
        # Nobody listens there: the machine's own services are not reached.
        "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={folder}/run/no-system-bus",
        "GSETTINGS_BACKEND": "memory",
        "GIO_USE_VFS": "local",
        "GIO_USE_VOLUME_MONITOR": "unix",
    }
