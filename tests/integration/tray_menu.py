#!/usr/bin/python3
"""Reads and drives Quillet's tray icon over D-Bus, as the panel does.

  tray_menu.py layout PID      prints one line per menu entry: "label|toggle-state" ("---" for
                               separators); exits 1 when the program has no registered item
  tray_menu.py click PID LABEL clicks the entry with that label
"""
import sys

import dbus

WATCHER = "org.kde.StatusNotifierWatcher"
ITEM = "org.kde.StatusNotifierItem"
MENU = "com.canonical.dbusmenu"
TIMEOUT = 2  # seconds per call


def item_of(bus, pid):
    watcher = bus.get_object(WATCHER, "/StatusNotifierWatcher")
    items = watcher.Get(WATCHER, "RegisteredStatusNotifierItems",
                        dbus_interface="org.freedesktop.DBus.Properties", timeout=TIMEOUT)
    bus_daemon = bus.get_object("org.freedesktop.DBus", "/org/freedesktop/DBus")
    for entry in items:
        entry = str(entry)
        service, _, path = entry.partition("/")
        path = "/" + path if path else "/StatusNotifierItem"
        owner_pid = bus_daemon.GetConnectionUnixProcessID(
            service, dbus_interface="org.freedesktop.DBus", timeout=TIMEOUT)
        if int(owner_pid) == pid:
            return service, path
    return None


def menu_of(bus, service, path):
    item = bus.get_object(service, path)
    menu_path = item.Get(ITEM, "Menu", dbus_interface="org.freedesktop.DBus.Properties",
                         timeout=TIMEOUT)
    return bus.get_object(service, menu_path)


def entries(menu):
    menu.AboutToShow(0, dbus_interface=MENU, timeout=TIMEOUT)
    _, layout = menu.GetLayout(0, -1, [], dbus_interface=MENU, timeout=TIMEOUT)
    result = []
    for child in layout[2]:
        child_id, props = int(child[0]), child[1]
        if str(props.get("type", "")) == "separator":
            result.append((child_id, "---", ""))
            continue
        label = str(props.get("label", "")).replace("_", "", 1)
        state = props.get("toggle-state", "")
        result.append((child_id, label, "" if state == "" else str(int(state))))
    return result


def main(argv):
    bus = dbus.SessionBus()
    pid = int(argv[2])
    found = item_of(bus, pid)
    if not found:
        return 1
    menu = menu_of(bus, *found)
    if argv[1] == "layout":
        for _, label, state in entries(menu):
            print(f"{label}|{state}")
        return 0
    if argv[1] == "click":
        for child_id, label, _ in entries(menu):
            if label == argv[3]:
                menu.Event(child_id, "clicked", dbus.Int32(0, variant_level=1), dbus.UInt32(0),
                           dbus_interface=MENU, timeout=TIMEOUT)
                return 0
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv))
