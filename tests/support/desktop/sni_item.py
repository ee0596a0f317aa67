#!/usr/bin/python3
# A minimal StatusNotifierItem for the test desktop: a tray icon without an X window of its own,
# drawn by the panel, with a title and a tooltip that tests can look for.
#
#   sni_item.py --title TEXT [--tooltip TEXT] [--icon-name NAME] [--color RRGGBB]
#
# Registers with org.kde.StatusNotifierWatcher (owned by the panel's notification area) and
# registers again whenever a new watcher appears. Runs until SIGTERM or SIGINT.
import argparse
import os
import signal
import sys

import dbus
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

ITEM_IFACE = "org.kde.StatusNotifierItem"
WATCHER_NAME = "org.kde.StatusNotifierWatcher"
WATCHER_PATH = "/StatusNotifierWatcher"
ITEM_PATH = "/StatusNotifierItem"
MENU_IFACE = "com.canonical.dbusmenu"
MENU_PATH = "/MenuBar"


def solid_pixmap(size, rgb):
    """One ARGB32 (network byte order) square so the icon is visible even without an icon theme."""
    r, g, b = (rgb >> 16) & 0xFF, (rgb >> 8) & 0xFF, rgb & 0xFF
    pixel = bytes((0xFF, r, g, b))
    return dbus.Struct((dbus.Int32(size), dbus.Int32(size), dbus.ByteArray(pixel * size * size)),
                       signature="iiay")


class Properties(dbus.service.Object):
    """An object with the read-only properties PROPS on its interface IFACE."""

    def __init__(self, bus, path, iface, props):
        super().__init__(bus, path)
        self.iface, self.props = iface, props

    @dbus.service.method(dbus.PROPERTIES_IFACE, in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        if interface != self.iface or name not in self.props:
            raise dbus.exceptions.DBusException("no property %s" % name,
                                                name="org.freedesktop.DBus.Error.UnknownProperty")
        return self.props[name]

    @dbus.service.method(dbus.PROPERTIES_IFACE, in_signature="s", out_signature="a{sv}")
    def GetAll(self, interface):
        return self.props if interface == self.iface else {}


class Item(Properties):
    def __init__(self, bus, args):
        pixmaps = dbus.Array([solid_pixmap(22, args.color), solid_pixmap(32, args.color)],
                             signature="(iiay)")
        super().__init__(bus, ITEM_PATH, ITEM_IFACE, {
            "Category": dbus.String("ApplicationStatus"),
            "Id": dbus.String("quillet-test-sni-%d" % os.getpid()),
            "Title": dbus.String(args.title),
            "Status": dbus.String("Active"),
            "IconName": dbus.String(args.icon_name),
            "IconPixmap": pixmaps,
            "ToolTip": dbus.Struct((args.icon_name, pixmaps, args.title, args.tooltip), signature="sa(iiay)ss"),
            "ItemIsMenu": dbus.Boolean(False),
            "Menu": dbus.ObjectPath(MENU_PATH),
        })

    @dbus.service.method(ITEM_IFACE, in_signature="ii")
    def Activate(self, x, y):
        print("activated at %d,%d" % (x, y), flush=True)


class EmptyMenu(Properties):
    """A context menu without entries, so the panel's menu requests get an answer."""

    def __init__(self, bus):
        super().__init__(bus, MENU_PATH, MENU_IFACE, {
            "Version": dbus.UInt32(3), "Status": dbus.String("normal"),
            "TextDirection": dbus.String("ltr"), "IconThemePath": dbus.Array([], signature="s")})

    @dbus.service.method(MENU_IFACE, in_signature="iias", out_signature="u(ia{sv}av)")
    def GetLayout(self, parent_id, depth, names):
        root = dbus.Struct((dbus.Int32(0), dbus.Dictionary({"children-display": "submenu"}, signature="sv"),
                            dbus.Array([], signature="v")), signature="ia{sv}av")
        return dbus.UInt32(1), root

    @dbus.service.method(MENU_IFACE, in_signature="aias", out_signature="a(ia{sv})")
    def GetGroupProperties(self, ids, names):
        return dbus.Array([], signature="(ia{sv})")

    @dbus.service.method(MENU_IFACE, in_signature="i", out_signature="b")
    def AboutToShow(self, item_id):
        return False

    @dbus.service.method(MENU_IFACE, in_signature="isvu")
    def Event(self, item_id, event_id, data, timestamp):
        pass


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--title", required=True)
    parser.add_argument("--tooltip", default="")
    parser.add_argument("--icon-name", default="")
    parser.add_argument("--color", default="2a7ab0", type=lambda s: int(s, 16))
    args = parser.parse_args()

    DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    service = "org.kde.StatusNotifierItem-%d-1" % os.getpid()
    # Keep the name object alive for as long as the item lives.
    name = dbus.service.BusName(service, bus)  # noqa: F841
    item = Item(bus, args)  # noqa: F841
    menu = EmptyMenu(bus)  # noqa: F841

    def register(*_):
        try:
            watcher = bus.get_object(WATCHER_NAME, WATCHER_PATH)
            watcher.RegisterStatusNotifierItem(service, dbus_interface=WATCHER_NAME)
            print("registered %s" % service, flush=True)
        except dbus.exceptions.DBusException as error:
            print("watcher not available yet: %s" % error.get_dbus_name(), flush=True)

    def owner_changed(new_owner):
        if new_owner:
            register()

    bus.watch_name_owner(WATCHER_NAME, owner_changed)

    loop = GLib.MainLoop()
    for signum in (signal.SIGTERM, signal.SIGINT):
        GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signum, lambda *_: (loop.quit(), False)[1])
    loop.run()
    return 0


if __name__ == "__main__":
    sys.exit(main())
