#!/usr/bin/python3
# Waits, as an outside X client, until a top-level window titled TITLE is mapped, and prints the
# wall-clock time of that moment in nanoseconds (the same clock as `date +%s%N`). It prints
# "ready" once it watches, so that the program to time is started only then; the moment is
# taken from the X server's MapNotify of the window's frame, not found by polling.
#
#   map_wait.py TITLE SECONDS
import ctypes
import os
import select
import sys
import time

here = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(here, "..", "tests", "support", "desktop"))
sys.path.insert(0, os.path.join(here, "..", "tests", "integration"))
# The Xlib bindings and the structure-event declarations the desktop tests already have.
from mask_watch import MAP_NOTIFY, SUBSTRUCTURE_NOTIFY_MASK, XEvent  # noqa: E402
from xprobe import Display, xlib  # noqa: E402

xlib.XConnectionNumber.argtypes = [ctypes.c_void_p]


def titled(display, window, title):
    # A window manager maps its frame, with the program's window inside it.
    children = display.children(window)
    grandchildren = [g for c in children for g in display.children(c)]
    return any(display.name(w) == title for w in [window] + children + grandchildren)


def main(argv):
    title, seconds = argv[1], float(argv[2])
    display = Display()
    xlib.XSelectInput(display.dpy, display.root, SUBSTRUCTURE_NOTIFY_MASK)
    xlib.XSync(display.dpy, 0)
    print("ready", flush=True)
    deadline = time.monotonic() + seconds
    event = XEvent()
    fd = xlib.XConnectionNumber(display.dpy)
    while time.monotonic() < deadline:
        if not xlib.XPending(display.dpy):
            select.select([fd], [], [], 0.05)
            continue
        xlib.XNextEvent(display.dpy, ctypes.byref(event))
        if event.head.type == MAP_NOTIFY and event.head.event == display.root:
            mapped = time.time_ns()
            if titled(display, event.head.window, title):
                print(mapped, flush=True)
                return 0
    return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv))
