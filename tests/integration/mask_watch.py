#!/usr/bin/python3
# Watches, as an outside X client, the override-redirect windows at the top edge of the screen
# (the panel masks) for SECONDS and reports how often none was mapped after the first one was,
# and the longest such moment in milliseconds (until a mask was mapped again, or the end):
#   "uncovered=<times> longest_ms=<ms> maps=<n> unmaps=<n>"
# The X server reports maps and unmaps in the order it handled them, so a mask that replaces
# another one without a gap never leaves the set empty. A window is judged by what the events
# themselves say (its creation and configure events carry its place, its map event whether it
# bypasses the window manager), not by asking the server when the event is read: by then a
# short-lived mask may be gone already, and its map would be missed.
#
#   mask_watch.py SECONDS
import ctypes
import os
import sys
import time

# The Xlib bindings the desktop probe already declares (the library, Window, the window
# attributes and the calls both scripts make).
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support", "desktop"))
from xprobe import IS_VIEWABLE, Window, XWindowAttributes, xlib  # noqa: E402


# The common head of MapNotify, UnmapNotify and DestroyNotify events.
class XStructureEvent(ctypes.Structure):
    _fields_ = [
        ("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
        ("display", ctypes.c_void_p), ("event", Window), ("window", Window),
    ]


class XCreateWindowEvent(ctypes.Structure):
    _fields_ = [
        ("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
        ("display", ctypes.c_void_p), ("parent", Window), ("window", Window),
        ("x", ctypes.c_int), ("y", ctypes.c_int), ("width", ctypes.c_int),
        ("height", ctypes.c_int), ("border_width", ctypes.c_int),
        ("override_redirect", ctypes.c_int),
    ]


class XConfigureEvent(ctypes.Structure):
    _fields_ = [
        ("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
        ("display", ctypes.c_void_p), ("event", Window), ("window", Window),
        ("x", ctypes.c_int), ("y", ctypes.c_int), ("width", ctypes.c_int),
        ("height", ctypes.c_int), ("border_width", ctypes.c_int), ("above", Window),
        ("override_redirect", ctypes.c_int),
    ]


class XMapEvent(ctypes.Structure):
    _fields_ = [
        ("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
        ("display", ctypes.c_void_p), ("event", Window), ("window", Window),
        ("override_redirect", ctypes.c_int),
    ]


class XEvent(ctypes.Union):
    _fields_ = [("head", XStructureEvent), ("create", XCreateWindowEvent),
                ("configure", XConfigureEvent), ("map", XMapEvent), ("pad", ctypes.c_long * 24)]


CREATE_NOTIFY, DESTROY_NOTIFY, UNMAP_NOTIFY, MAP_NOTIFY, CONFIGURE_NOTIFY = 16, 17, 18, 19, 22
SUBSTRUCTURE_NOTIFY_MASK = 1 << 19

xlib.XSelectInput.argtypes = [ctypes.c_void_p, Window, ctypes.c_long]
xlib.XPending.argtypes = [ctypes.c_void_p]
xlib.XNextEvent.argtypes = [ctypes.c_void_p, ctypes.POINTER(XEvent)]
xlib.XSync.argtypes = [ctypes.c_void_p, ctypes.c_int]
xlib.XSetErrorHandler.argtypes = [ctypes.c_void_p]

# Windows may vanish between an event and a question about them.
ERROR_HANDLER = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p)(lambda d, e: 0)


def looks_like_mask(override_redirect, y, height):
    return bool(override_redirect) and y == 0 and height <= 128


def is_mask(display, window):
    attrs = XWindowAttributes()
    if not xlib.XGetWindowAttributes(display, window, ctypes.byref(attrs)):
        return False
    return looks_like_mask(attrs.override_redirect, attrs.y, attrs.height)


def main():
    seconds = float(sys.argv[1]) if len(sys.argv) > 1 else 5.0
    display = xlib.XOpenDisplay(None)
    if not display:
        print("no display", file=sys.stderr)
        return 1
    xlib.XSetErrorHandler(ERROR_HANDLER)
    root = xlib.XDefaultRootWindow(display)
    xlib.XSelectInput(display, root, SUBSTRUCTURE_NOTIFY_MASK)
    xlib.XSync(display, 0)

    mapped = set()
    root_ret, parent = Window(), Window()
    children = ctypes.POINTER(Window)()
    count = ctypes.c_uint()
    if xlib.XQueryTree(display, root, ctypes.byref(root_ret), ctypes.byref(parent),
                       ctypes.byref(children), ctypes.byref(count)):
        for i in range(count.value):
            attrs = XWindowAttributes()
            w = children[i]
            if (xlib.XGetWindowAttributes(display, w, ctypes.byref(attrs))
                    and attrs.map_state == IS_VIEWABLE and is_mask(display, w)):
                mapped.add(w)
        xlib.XFree(children)

    # The place (y, height) of every window created while watching, from its events.
    places = {}
    seen_any = bool(mapped)
    uncovered = maps = unmaps = 0
    longest = 0.0
    bare_since = None
    deadline = time.monotonic() + seconds
    event = XEvent()
    while time.monotonic() < deadline:
        if not xlib.XPending(display):
            time.sleep(0.001)
            continue
        xlib.XNextEvent(display, ctypes.byref(event))
        kind, window = event.head.type, event.head.window
        if kind == CREATE_NOTIFY:
            places[window] = (event.create.y, event.create.height)
            continue
        if kind == CONFIGURE_NOTIFY:
            places[window] = (event.configure.y, event.configure.height)
            continue
        if kind == MAP_NOTIFY:
            # Windows older than the watch are asked about; they were made before it began.
            place = places.get(window)
            mask = (looks_like_mask(event.map.override_redirect, *place) if place
                    else is_mask(display, window))
        if kind == MAP_NOTIFY and mask:
            mapped.add(window)
            seen_any = True
            maps += 1
            if bare_since is not None:
                longest = max(longest, time.monotonic() - bare_since)
                bare_since = None
        elif kind in (UNMAP_NOTIFY, DESTROY_NOTIFY) and window in mapped:
            mapped.discard(window)
            unmaps += 1
            if seen_any and not mapped:
                uncovered += 1
                bare_since = time.monotonic()
                print(f"uncovered at {bare_since:.3f}: 0x{window:x} went", file=sys.stderr)
        if kind == DESTROY_NOTIFY:
            places.pop(window, None)
    if bare_since is not None:
        longest = max(longest, time.monotonic() - bare_since)
    print(f"uncovered={uncovered} longest_ms={longest * 1000:.0f} maps={maps} unmaps={unmaps}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
