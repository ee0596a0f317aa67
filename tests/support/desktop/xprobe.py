#!/usr/bin/python3
# Reads window-manager, panel and tray state from the X server for the test desktop and the
# integration tests. Talks to libX11 through ctypes so it needs nothing beyond the X libraries.
#
#   xprobe.py owner SELECTION        window id owning the selection (exit 1 when unowned)
#   xprobe.py wm                     name of the EWMH window manager (exit 1 when none)
#   xprobe.py windows [--type T]     viewable windows with a _NET_WM_WINDOW_TYPE of T (desktop, dock, normal ...)
#   xprobe.py tray-icons             viewable XEmbed icons docked in the tray of _NET_SYSTEM_TRAY_S0
#   xprobe.py close WINDOW           asks the window manager to close WINDOW (_NET_CLOSE_WINDOW,
#                                    as a taskbar's "Close" does)
#   xprobe.py root-pixel X Y         RRGGBB of the root pixmap (_XROOTPMAP_ID) at X,Y (exit 1
#                                    when there is none), what a desktop's daemon drew there
#
# Window lines read: "0x<id> pid=<pid or 0> x=<root x> y=<root y> w=<width> h=<height> name=<name>".
import ctypes
import ctypes.util
import sys

xlib = ctypes.CDLL(ctypes.util.find_library("X11") or "libX11.so.6")

Window = ctypes.c_ulong
Atom = ctypes.c_ulong


class XWindowAttributes(ctypes.Structure):
    _fields_ = [
        ("x", ctypes.c_int), ("y", ctypes.c_int),
        ("width", ctypes.c_int), ("height", ctypes.c_int),
        ("border_width", ctypes.c_int), ("depth", ctypes.c_int),
        ("visual", ctypes.c_void_p), ("root", Window),
        ("c_class", ctypes.c_int), ("bit_gravity", ctypes.c_int),
        ("win_gravity", ctypes.c_int), ("backing_store", ctypes.c_int),
        ("backing_planes", ctypes.c_ulong), ("backing_pixel", ctypes.c_ulong),
        ("save_under", ctypes.c_int), ("colormap", ctypes.c_ulong),
        ("map_installed", ctypes.c_int), ("map_state", ctypes.c_int),
        ("all_event_masks", ctypes.c_long), ("your_event_mask", ctypes.c_long),
        ("do_not_propagate_mask", ctypes.c_long), ("override_redirect", ctypes.c_int),
        ("screen", ctypes.c_void_p),
    ]


IS_VIEWABLE = 2
ANY_PROPERTY_TYPE = 0

xlib.XOpenDisplay.restype = ctypes.c_void_p
xlib.XOpenDisplay.argtypes = [ctypes.c_char_p]
xlib.XDefaultRootWindow.restype = Window
xlib.XDefaultRootWindow.argtypes = [ctypes.c_void_p]
xlib.XInternAtom.restype = Atom
xlib.XInternAtom.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int]
xlib.XGetSelectionOwner.restype = Window
xlib.XGetSelectionOwner.argtypes = [ctypes.c_void_p, Atom]
xlib.XGetWindowProperty.argtypes = [
    ctypes.c_void_p, Window, Atom, ctypes.c_long, ctypes.c_long, ctypes.c_int, Atom,
    ctypes.POINTER(Atom), ctypes.POINTER(ctypes.c_int), ctypes.POINTER(ctypes.c_ulong),
    ctypes.POINTER(ctypes.c_ulong), ctypes.POINTER(ctypes.c_void_p)]
xlib.XQueryTree.argtypes = [
    ctypes.c_void_p, Window, ctypes.POINTER(Window), ctypes.POINTER(Window),
    ctypes.POINTER(ctypes.POINTER(Window)), ctypes.POINTER(ctypes.c_uint)]
xlib.XGetWindowAttributes.argtypes = [ctypes.c_void_p, Window, ctypes.POINTER(XWindowAttributes)]
xlib.XTranslateCoordinates.argtypes = [
    ctypes.c_void_p, Window, Window, ctypes.c_int, ctypes.c_int,
    ctypes.POINTER(ctypes.c_int), ctypes.POINTER(ctypes.c_int), ctypes.POINTER(Window)]
xlib.XFree.argtypes = [ctypes.c_void_p]
xlib.XGetImage.restype = ctypes.c_void_p
xlib.XGetImage.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int, ctypes.c_int,
                           ctypes.c_uint, ctypes.c_uint, ctypes.c_ulong, ctypes.c_int]
xlib.XGetPixel.restype = ctypes.c_ulong
xlib.XGetPixel.argtypes = [ctypes.c_void_p, ctypes.c_int, ctypes.c_int]


class XClientMessageEvent(ctypes.Structure):
    _fields_ = [
        ("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
        ("display", ctypes.c_void_p), ("window", Window), ("message_type", Atom),
        ("format", ctypes.c_int), ("data", ctypes.c_long * 5),
    ]


class XEvent(ctypes.Union):
    _fields_ = [("xclient", XClientMessageEvent), ("pad", ctypes.c_long * 24)]


CLIENT_MESSAGE = 33
SUBSTRUCTURE_NOTIFY_AND_REDIRECT = (1 << 19) | (1 << 20)
xlib.XSendEvent.argtypes = [ctypes.c_void_p, Window, ctypes.c_int, ctypes.c_long,
                            ctypes.POINTER(XEvent)]
xlib.XFlush.argtypes = [ctypes.c_void_p]
xlib.XCloseDisplay.argtypes = [ctypes.c_void_p]

# Windows come and go while we walk the tree; a BadWindow must not end the process.
ERROR_HANDLER = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p)
_ignore_errors = ERROR_HANDLER(lambda display, event: 0)
xlib.XSetErrorHandler(_ignore_errors)


class Display:
    def __init__(self):
        self.dpy = xlib.XOpenDisplay(None)
        if not self.dpy:
            sys.exit("xprobe: cannot open the X display")
        self.root = xlib.XDefaultRootWindow(self.dpy)
        self._atoms = {}

    def atom(self, name):
        if name not in self._atoms:
            self._atoms[name] = xlib.XInternAtom(self.dpy, name.encode(), 0)
        return self._atoms[name]

    def prop(self, window, name, want_format=None):
        """A property's items (C longs for format 32, else bytes), or None when unset or of
        another format than WANT_FORMAT."""
        actual_type, actual_format = Atom(), ctypes.c_int()
        nitems, after, data = ctypes.c_ulong(), ctypes.c_ulong(), ctypes.c_void_p()
        status = xlib.XGetWindowProperty(
            self.dpy, window, self.atom(name), 0, 4096, 0, ANY_PROPERTY_TYPE,
            ctypes.byref(actual_type), ctypes.byref(actual_format), ctypes.byref(nitems),
            ctypes.byref(after), ctypes.byref(data))
        value = None
        if status == 0 and data.value and actual_type.value and want_format in (None, actual_format.value):
            # Xlib hands 32-bit items back as C longs.
            if actual_format.value == 32:
                value = list((ctypes.c_ulong * nitems.value).from_address(data.value))
            else:
                value = ctypes.string_at(data.value, nitems.value * (actual_format.value // 8))
        if data.value:
            xlib.XFree(data)
        return value

    def prop_longs(self, window, name):
        return self.prop(window, name, 32) or []

    def prop_text(self, window, name):
        value = self.prop(window, name, 8)
        return None if value is None else value.decode("utf-8", "replace")

    def name(self, window):
        text = self.prop_text(window, "_NET_WM_NAME")
        return text if text is not None else (self.prop_text(window, "WM_NAME") or "")

    def pid(self, window):
        pids = self.prop_longs(window, "_NET_WM_PID")
        return pids[0] if pids else 0

    def children(self, window):
        root, parent = Window(), Window()
        kids, count = ctypes.POINTER(Window)(), ctypes.c_uint()
        ok = xlib.XQueryTree(self.dpy, window, ctypes.byref(root), ctypes.byref(parent),
                             ctypes.byref(kids), ctypes.byref(count))
        result = [kids[i] for i in range(count.value)] if ok else []
        if kids:
            xlib.XFree(kids)
        return result

    def attributes(self, window):
        attrs = XWindowAttributes()
        return attrs if xlib.XGetWindowAttributes(self.dpy, window, ctypes.byref(attrs)) else None

    def root_position(self, window):
        x, y, child = ctypes.c_int(), ctypes.c_int(), Window()
        xlib.XTranslateCoordinates(self.dpy, window, self.root, 0, 0,
                                   ctypes.byref(x), ctypes.byref(y), ctypes.byref(child))
        return x.value, y.value

    def walk(self):
        """Every window below the root with its parent, depth first, bottom to top."""
        stack = [(self.root, child) for child in reversed(self.children(self.root))]
        while stack:
            parent, window = stack.pop()
            yield parent, window
            stack.extend((window, child) for child in reversed(self.children(window)))

    def describe(self, window):
        attrs = self.attributes(window)
        x, y = self.root_position(window)
        w, h = (attrs.width, attrs.height) if attrs else (0, 0)
        return "0x%x pid=%d x=%d y=%d w=%d h=%d name=%s" % (window, self.pid(window), x, y, w, h,
                                                           self.name(window))

    def viewable(self, window):
        attrs = self.attributes(window)
        return attrs is not None and attrs.map_state == IS_VIEWABLE


def main(argv):
    if len(argv) < 2:
        sys.exit(__doc__ if __doc__ else "usage: xprobe.py COMMAND")
    d = Display()
    command = argv[1]
    found = []
    if command == "owner":
        owner = xlib.XGetSelectionOwner(d.dpy, d.atom(argv[2]))
        if owner:
            print("0x%x" % owner)
        return 0 if owner else 1
    if command == "wm":
        check = d.prop_longs(d.root, "_NET_SUPPORTING_WM_CHECK")
        if not check or d.prop_longs(check[0], "_NET_SUPPORTING_WM_CHECK") != check[:1]:
            return 1
        print(d.name(check[0]))
        return 0
    if command == "root-pixel":
        pixmap = d.prop_longs(d.root, "_XROOTPMAP_ID")
        # One pixel, all planes, ZPixmap (2).
        image = pixmap and xlib.XGetImage(d.dpy, pixmap[0], int(argv[2]), int(argv[3]), 1, 1,
                                          0xFFFFFFFF, 2)
        if not image:
            return 1
        print("%06X" % (xlib.XGetPixel(image, 0, 0) & 0xFFFFFF))
        return 0
    if command == "close":
        event = XEvent()
        event.xclient.type = CLIENT_MESSAGE
        event.xclient.window = int(argv[2], 0)
        event.xclient.message_type = d.atom("_NET_CLOSE_WINDOW")
        event.xclient.format = 32
        event.xclient.data[1] = 2  # the request comes from a pager or taskbar
        xlib.XSendEvent(d.dpy, d.root, 0, SUBSTRUCTURE_NOTIFY_AND_REDIRECT, ctypes.byref(event))
        xlib.XFlush(d.dpy)
        return 0
    if command == "windows":
        wanted = None
        if len(argv) > 3 and argv[2] == "--type":
            wanted = d.atom("_NET_WM_WINDOW_TYPE_" + argv[3].upper())
        for _, window in d.walk():
            types = d.prop_longs(window, "_NET_WM_WINDOW_TYPE")
            if not types or (wanted is not None and wanted not in types) or not d.viewable(window):
                continue
            found.append(window)
    elif command == "tray-icons":
        # The panel may embed its tray plugin through XEmbed too: skip windows of the process
        # that owns the tray selection.
        owner = xlib.XGetSelectionOwner(d.dpy, d.atom("_NET_SYSTEM_TRAY_S0"))
        host_pid = d.pid(owner) if owner else -1
        for parent, window in d.walk():
            if (parent != d.root and d.prop(window, "_XEMBED_INFO") is not None
                    and d.pid(window) != host_pid and d.viewable(window)):
                found.append(window)
    else:
        sys.exit("xprobe: unknown command %s" % command)
    for window in found:
        print(d.describe(window))
    return 0 if found else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv))
