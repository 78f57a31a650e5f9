"""The tray icon on a StatusNotifierItem desktop: with a watcher and a host on the session bus,
the real program registers its item, offers its icon by name in each state (at rest, busy, a
plan waiting), and activating the item (a click in a KDE, GNOME or XFCE panel) closes and opens
the panel.

Usage (under dbus-run-session): tray_registration.py BRINDLOW FAKE_SERVICE
"""

import os
import sys

from desktop_session import Accessible, Failure, Session, skip_unless_available, wait_for

WATCHER = "org.kde.StatusNotifierWatcher"
WATCHER_XML = """
<node>
  <interface name="org.kde.StatusNotifierWatcher">
    <method name="RegisterStatusNotifierItem"><arg name="service" type="s" direction="in"/></method>
    <method name="RegisterStatusNotifierHost"><arg name="service" type="s" direction="in"/></method>
    <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
    <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
    <property name="ProtocolVersion" type="i" access="read"/>
  </interface>
</node>
"""


class Watcher:
    """The part of a desktop panel that tray items talk to, with one host that shows them."""

    def __init__(self, bus):
        from gi.repository import Gio, GLib

        self.bus = bus
        self.items = []
        for name in (WATCHER, f"org.kde.StatusNotifierHost-{os.getpid()}"):
            reply = bus.call_sync(
                "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
                GLib.Variant("(su)", (name, 4)), GLib.VariantType("(u)"), 0, 5000, None,
            )
            if reply.unpack()[0] != 1:
                raise Failure(f"cannot own {name} on the private bus")
        interface = Gio.DBusNodeInfo.new_for_xml(WATCHER_XML).interfaces[0]
        bus.register_object("/StatusNotifierWatcher", interface, self.call, self.get, None)

    def call(self, bus, sender, path, interface, method, parameters, invocation):
        if method == "RegisterStatusNotifierItem":
            service = parameters.unpack()[0]
            # Some items send only their object path; the sender is then the service.
            self.items.append(sender if service.startswith("/") else service)
        invocation.return_value(None)

    def get(self, bus, sender, path, interface, name):
        from gi.repository import GLib

        values = {
            "RegisteredStatusNotifierItems": GLib.Variant("as", self.items),
            "IsStatusNotifierHostRegistered": GLib.Variant("b", True),
            "ProtocolVersion": GLib.Variant("i", 0),
        }
        return values.get(name)


def activate(bus, service):
    from gi.repository import GLib

    bus.call_sync(service, "/StatusNotifierItem", "org.kde.StatusNotifierItem", "Activate",
                  GLib.Variant("(ii)", (0, 0)), None, 0, 5000, None)


def icon_name(bus, service):
    from gi.repository import GLib

    reply = bus.call_sync(service, "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get",
                          GLib.Variant("(ss)", ("org.kde.StatusNotifierItem", "IconName")),
                          GLib.VariantType("(v)"), 0, 5000, None)
    return reply.unpack()[0]


def panel_window_states(display):
    """The window-manager states of the program's shown window titled "Brindlow", read with the
    X tools; None where they are not installed."""
    import re
    import shutil
    import subprocess

    if not (shutil.which("xwininfo") and shutil.which("xprop")):
        return None
    tree = subprocess.run(["xwininfo", "-display", display, "-root", "-tree"], capture_output=True, text=True).stdout
    for window in re.findall(r'^\s*(0x[0-9a-f]+) "Brindlow": \("brindlow"', tree, re.MULTILINE):
        properties = subprocess.run(["xprop", "-display", display, "-id", window], capture_output=True, text=True)
        if "IsViewable" in subprocess.run(["xwininfo", "-display", display, "-id", window],
                                          capture_output=True, text=True).stdout:
            return next((line for line in properties.stdout.splitlines() if line.startswith("_NET_WM_STATE(")), "")
    return ""


def main(program, fake_service):
    skip_unless_available()
    with Session(program, fake_service) as session:
        session.start_display()
        session.start_accessibility_bus()
        # Up before the program starts: Qt decides once, at its first tray icon, whether a host exists.
        watcher = Watcher(session.bus())
        session.start_fake_service(slow=True)
        brindlow = session.start_program()
        alive = [("brindlow", brindlow)]
        screen = Accessible(brindlow.pid)

        wait_for("the tray item to register with the watcher", lambda: watcher.items, 30, alive)
        item = watcher.items[0]
        if session.name_pid(item) != brindlow.pid:
            raise Failure(f"{item} is not served by the program")

        # Offered by name, so that the panel's icon theme draws it in the panel's own colour.
        offered = icon_name(session.bus(), item)
        if offered != "org.brindlow.Brindlow-tray-symbolic":
            raise Failure(f"the item offers the icon {offered!r}, not the symbolic one by name")

        panel_open = lambda: screen.showing("Refresh now")
        wait_for("the panel to open by itself after launch", panel_open, 30, alive)
        # A popup beside the tray, not a task of its own in the task bar.
        states = panel_window_states(session.env["DISPLAY"])
        if states is not None and "_NET_WM_STATE_SKIP_TASKBAR" not in states:
            raise Failure(f"the panel would show in the task bar: {states!r}")
        activate(session.bus(), item)
        wait_for("a click on the item to close the panel", lambda: not panel_open(), 10, alive)
        # Closed by a click on the icon, the panel opens again at the very next click.
        activate(session.bus(), item)
        wait_for("a second click on the item to open the panel", panel_open, 10, alive)
        # The work under way, then the plan it leaves waiting, show in the icon, by name too.
        screen.press(panel_open())
        busy = "org.brindlow.Brindlow-tray-busy-symbolic"
        wait_for(f"the icon {busy}", lambda: icon_name(session.bus(), item) == busy, 10, alive)
        wait_for('"Review changes"', lambda: screen.showing("Review changes"), 60, alive)
        waiting = "org.brindlow.Brindlow-tray-waiting-symbolic"
        wait_for(f"the icon {waiting}", lambda: icon_name(session.bus(), item) == waiting, 10, alive)
        if len(watcher.items) != 1:
            raise Failure(f"the item registered {len(watcher.items)} times")
    print("PASS: the tray item registered, and activating it closes and opens the panel")


if __name__ == "__main__":
    try:
        main(*sys.argv[1:3])
    except Failure as failure:
        sys.exit(f"FAIL: {failure}")
