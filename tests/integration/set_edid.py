#!/usr/bin/python3
# Gives a RandR output an EDID that names the monitor, as a real monitor's would, so that the
# test can check where the display names come from. Uses libX11/libXrandr through ctypes.
#   set_edid.py OUTPUT-XID PRODUCT-NAME
import ctypes
import ctypes.util
import sys

xlib = ctypes.CDLL(ctypes.util.find_library("X11") or "libX11.so.6")
xrandr = ctypes.CDLL(ctypes.util.find_library("Xrandr") or "libXrandr.so.2")
xlib.XOpenDisplay.restype = ctypes.c_void_p
xlib.XOpenDisplay.argtypes = [ctypes.c_char_p]
xlib.XInternAtom.restype = ctypes.c_ulong
xlib.XInternAtom.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int]
xlib.XSync.argtypes = [ctypes.c_void_p, ctypes.c_int]
xlib.XCloseDisplay.argtypes = [ctypes.c_void_p]
xrandr.XRRChangeOutputProperty.argtypes = [
    ctypes.c_void_p, ctypes.c_ulong, ctypes.c_ulong, ctypes.c_ulong, ctypes.c_int, ctypes.c_int,
    ctypes.c_char_p, ctypes.c_int]

XA_INTEGER = 19
PROP_MODE_REPLACE = 0


def edid(name):
    block = bytearray(128)
    block[0:8] = b"\x00\xff\xff\xff\xff\xff\xff\x00"
    block[8:10] = b"\x44\x6d"  # a made-up manufacturer code
    block[18:20] = b"\x01\x04"  # EDID 1.4
    # First descriptor: a detailed timing for 1920x1080 (pixel clock 148.5 MHz).
    block[54:56] = (14850).to_bytes(2, "little")
    # Second descriptor: the monitor name, ended by a line feed and padded with spaces.
    text = name.encode("ascii")[:13]
    if len(text) < 13:
        text += b"\n" + b" " * (12 - len(text))
    block[72:90] = b"\x00\x00\x00\xfc\x00" + text
    block[127] = (-sum(block[:127])) % 256
    return bytes(block)


def main():
    output, name = int(sys.argv[1], 0), sys.argv[2]
    display = xlib.XOpenDisplay(None)
    if not display:
        sys.exit("cannot open the display")
    atom = xlib.XInternAtom(display, b"EDID", 0)
    data = edid(name)
    xrandr.XRRChangeOutputProperty(display, output, atom, XA_INTEGER, 8, PROP_MODE_REPLACE,
                                   data, len(data))
    xlib.XSync(display, 0)
    xlib.XCloseDisplay(display)


main()
