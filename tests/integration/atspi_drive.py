#!/usr/bin/python3
"""Operates a running program through the accessibility bus, as a screen reader or a voice
control tool would: finds controls by accessible name and role and runs their actions.

Usage:
  atspi_drive.py press PID NAME [ROLE]    runs the press/toggle action of the first match
  atspi_drive.py checked PID NAME [ROLE]  prints 1 when the match is checked, else 0
  atspi_drive.py names PID ROLE           names of every object with that role, one a line
  atspi_drive.py showing PID NAME [ROLE]  exits 0 when a match is showing
  atspi_drive.py focused PID              prints the name (else the role) of the focused object
  atspi_drive.py extents PID NAME [ROLE]  prints the match's screen rectangle: X Y WIDTH HEIGHT
Exits 1 when nothing matches, 2 when the program is not on the bus.
"""
import sys

import pyatspi

# A press is a real click (Qt's "Toggle" only flips a checkable button's state, without the
# click that its program acts on), so it is preferred over the others.
PRESS_ACTIONS = ("press", "Press", "click", "activate", "toggle", "Toggle")


def application(pid):
    desktop = pyatspi.Registry.getDesktop(0)
    for index in range(desktop.childCount):
        try:
            app = desktop.getChildAtIndex(index)
            if app is not None and app.get_process_id() == pid:
                return app
        except Exception:  # an application that went away while listing
            continue
    return None


def walk(node):
    yield node
    try:
        count = node.childCount
    except Exception:
        return
    for index in range(count):
        try:
            child = node.getChildAtIndex(index)
        except Exception:
            continue
        if child is not None:
            yield from walk(child)


def matches(node, name, role):
    try:
        return (name is None or node.name == name) and (role is None or node.getRoleName() == role)
    except Exception:
        return False


def find(app, name, role=None):
    # Showing objects first, so a control of an open popup wins over a hidden twin.
    hidden = None
    for node in walk(app):
        if matches(node, name, role):
            if node.getState().contains(pyatspi.STATE_SHOWING):
                return node
            hidden = hidden or node
    return hidden


def press(node):
    action = node.queryAction()
    names = [action.getName(index) for index in range(action.nActions)]
    for wanted in PRESS_ACTIONS:
        if wanted in names:
            return action.doAction(names.index(wanted))
    raise SystemExit("no press action on %r: %s" % (node.name, names))


def main(argv):
    if len(argv) < 3:
        print(__doc__, file=sys.stderr)
        return 64
    command, pid = argv[1], int(argv[2])
    app = application(pid)
    if app is None:
        return 2
    if command == "focused":
        for node in walk(app):
            try:
                if node.getState().contains(pyatspi.STATE_FOCUSED):
                    print(node.name or node.getRoleName())
                    return 0
            except Exception:
                continue
        return 1
    if command == "names":
        for node in walk(app):
            if matches(node, None, argv[3]):
                print(node.name)
        return 0
    name = argv[3]
    role = argv[4] if len(argv) > 4 else None
    node = find(app, name, role)
    if node is None:
        return 1
    if command == "press":
        press(node)
        return 0
    if command == "checked":
        print(1 if node.getState().contains(pyatspi.STATE_CHECKED) else 0)
        return 0
    if command == "extents":
        box = node.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
        print(box.x, box.y, box.width, box.height)
        return 0
    if command == "showing":
        return 0 if node.getState().contains(pyatspi.STATE_SHOWING) else 1
    print(__doc__, file=sys.stderr)
    return 64


if __name__ == "__main__":
    sys.exit(main(sys.argv))
