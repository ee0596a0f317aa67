#!/usr/bin/python3
"""Stands in for the session manager on the test desktop's session bus: it lets clients
register and says the session runs, which Cinnamon's background daemon waits for before it
draws the first background.

Usage: session_manager.py    (runs until it is terminated)
"""
import signal

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

INTERFACE = "org.gnome.SessionManager"


class SessionManager(dbus.service.Object):
    @dbus.service.method(INTERFACE, in_signature="ss", out_signature="o")
    def RegisterClient(self, app_id, startup_id):
        # The session is running already: a client that registers hears so right after.
        GLib.timeout_add(200, lambda: self.SessionRunning() or False)
        return dbus.ObjectPath("/org/gnome/SessionManager/Client1")

    @dbus.service.method(INTERFACE, out_signature="b")
    def IsSessionRunning(self):
        return True

    @dbus.service.signal(INTERFACE)
    def SessionRunning(self):
        pass


def main():
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    SessionManager(bus, "/org/gnome/SessionManager")
    # The name last: a client that sees it can call at once.
    name = dbus.service.BusName(INTERFACE, bus)  # noqa: F841 (held while running)
    loop = GLib.MainLoop()
    GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGTERM, loop.quit)
    loop.run()


if __name__ == "__main__":
    main()
