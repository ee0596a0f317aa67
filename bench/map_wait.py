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

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "support", "desktop"))
from xprobe import Display, Window, xlib  # noqa: E402


class XMapEvent(ctypes.Structure):
    _fields_ = [
        ("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
        ("display", ctypes.c_void_p), ("event", Window), ("window", Window),
    ]


class XEvent(ctypes.Union):
    _fields_ = [("head", XMapEvent), ("pad", ctypes.c_long * 24)]


MAP_NOTIFY = 19
SUBSTRUCTURE_NOTIFY_MASK = 1 << 19
xlib.XSelectInput.argtypes = [ctypes.c_void_p, Window, ctypes.c_long]
xlib.XPending.argtypes = [ctypes.c_void_p]
xlib.XNextEvent.argtypes = [ctypes.c_void_p, ctypes.POINTER(XEvent)]
xlib.XSync.argtypes = [ctypes.c_void_p, ctypes.c_int]
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
