#!/usr/bin/python3
# A Python program with a window of its own class, as many small desktop tools are: the switcher
# must list it as "Sampler", not as the interpreter that runs it.
import os
from Xlib import X, Xatom, display

d = display.Display()
screen = d.screen()
w = screen.root.create_window(20, 20, 220, 120, 0, screen.root_depth, X.InputOutput,
                              background_pixel=screen.white_pixel)
w.set_wm_class("sampler", "Sampler")
w.set_wm_name("Sampler")
w.change_property(d.intern_atom("_NET_WM_PID"), Xatom.CARDINAL, 32, [os.getpid()])
w.map()
d.flush()
while True:
    d.next_event()
