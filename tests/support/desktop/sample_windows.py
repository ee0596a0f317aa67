#!/usr/bin/python3
"""Opens ordinary GTK windows for the window tests, then runs until it is terminated.

usage: sample_windows.py [--app-id ID] [--class NAME] [--type normal|dialog|utility]
                         [--skip-taskbar] [--maximized] TITLE[@WxH[+X+Y]]...

--app-id runs the windows under a GtkApplication of that id (so they carry _GTK_APPLICATION_ID);
--class sets the program name that GTK puts in WM_CLASS.
"""
import argparse
import re
import signal
import sys

import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import GLib  # noqa: E402

# GTK reads the program name when it opens the display, which importing it does.
if "--class" in sys.argv[1:-1]:
    GLib.set_prgname(sys.argv[sys.argv.index("--class") + 1])
from gi.repository import Gdk, Gtk  # noqa: E402

WINDOW_ARG = re.compile(r"^(?P<title>[^@]*)(@(?P<w>\d+)x(?P<h>\d+)(\+(?P<x>-?\d+)\+(?P<y>-?\d+))?)?$")
TYPES = {
    "normal": Gdk.WindowTypeHint.NORMAL,
    "dialog": Gdk.WindowTypeHint.DIALOG,
    "utility": Gdk.WindowTypeHint.UTILITY,
}


def make_window(args, window_arg, app=None):
    match = WINDOW_ARG.match(window_arg)
    if not match:
        sys.exit(f"bad window argument: {window_arg}")
    window = Gtk.ApplicationWindow(application=app) if app else Gtk.Window()
    window.set_title(match["title"])
    window.set_type_hint(TYPES[args.type])
    window.set_skip_taskbar_hint(args.skip_taskbar)
    window.add(Gtk.Label(label=match["title"]))
    if match["w"]:
        window.set_default_size(int(match["w"]), int(match["h"]))
    if match["x"] is not None:
        window.move(int(match["x"]), int(match["y"]))
    if args.maximized:
        window.maximize()
    window.show_all()
    return window


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--app-id")
    parser.add_argument("--class", dest="wm_class")
    parser.add_argument("--type", choices=sorted(TYPES), default="normal")
    parser.add_argument("--skip-taskbar", action="store_true")
    parser.add_argument("--maximized", action="store_true")
    parser.add_argument("windows", nargs="+")
    args = parser.parse_args()
    windows = []
    if args.app_id:
        app = Gtk.Application(application_id=args.app_id)

        def activate(application):
            windows.extend(make_window(args, window_arg, application) for window_arg in args.windows)

        app.connect("activate", activate)
        GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGTERM, app.quit)
        app.run([])
    else:
        Gtk.init([])
        windows.extend(make_window(args, window_arg) for window_arg in args.windows)
        GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGTERM, Gtk.main_quit)
        Gtk.main()


if __name__ == "__main__":
    main()
