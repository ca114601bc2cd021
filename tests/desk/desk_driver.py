"""Drives quorvid-desk as its users do: the mouse and keys by xdotool, names and states by AT-SPI."""

import atexit
import json
import os
import re
import subprocess
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

PATIENCE = 60  # seconds for a condition: a machine under load
BUTTONS = {"push button", "toggle button", "page tab", "menu item"}
LEAVES = {"page tab", "label", "image", "scroll bar", "separator"}
# A name that the toolkit made up from the widget's class is none.
MADE_UP = re.compile(r"(Gtk|Adw)[A-Z]\w*|")
COMPLAINT = re.compile(r"WARNING|CRITICAL|ERROR|terminate called|runtime error")


def shot(name):
    if folder := os.environ.get("QUORVID_TEST_SCREENSHOTS"):
        screen = ["-f", "x11grab", "-draw_mouse", "0", "-i", os.environ["DISPLAY"], "-frames:v", "1"]
        subprocess.run(["ffmpeg", "-v", "error", "-y", *screen, f"{folder}/{name}.png"])


def until(what, condition, seconds=PATIENCE):
    """What the condition gives as soon as it holds."""
    end = time.monotonic() + seconds
    while True:
        try:
            if found := condition():
                return found
        except GLib.Error:
            pass  # a widget that has just gone
        if time.monotonic() > end:
            shot("failed")
            raise AssertionError(f"not within {seconds} s: {what}")
        time.sleep(0.2)  # looking costs the program time, too


def xdotool(*words):
    return subprocess.run(["xdotool", *map(str, words)], capture_output=True, text=True).stdout.split()


def name_of(node):
    """Its accessible name. GTK 4.8 says a button's text twice, first with the mark of its key."""
    name = node.get_name() or ""
    text = name[-((len(name) - 1) // 2):]
    return text if name.replace("_", "", 1) == f"{text} {text}" else name


class Desk:
    """A run of the program; its settings and files stay in the folder for the next."""

    def __init__(self, build, folder, size=None):
        self.focused = []
        self.output, self.errors = f"{folder}/figures", f"{folder}/errors"
        program = [f"{build}/quorvid-desk", "--stats", "--simulator", "--devices TRUCK-7,TRUCK-8"]
        with open(self.output, "w") as output, open(self.errors, "w") as errors:
            self.process = subprocess.Popen(program, stdout=output, stderr=errors)
        atexit.register(self.process.kill)
        self.window = until("a window", lambda: self.windows())[0]
        if size:
            # A frame of five points goes around the window where nobody manages it.
            xdotool("windowsize", "--sync", self.window, size[0] + 10, size[1] + 10)
        self.app = until("its accessible tree", self.find_app)
        self.app.set_cache_mask(Atspi.Cache.NONE)  # states and names as they are now
        self.listener = Atspi.EventListener.new(self.take_focus)
        self.listener.register("object:state-changed:focused")
        self.give_focus(self.window)

    def windows(self):
        return xdotool("search", "--onlyvisible", "--pid", self.process.pid)

    def other_window(self):
        """The one above the program's own, once it has the keyboard."""
        [other] = until("another window", lambda: [w for w in self.windows() if w != self.window])
        self.give_focus(other)

    def find_app(self):
        desktop = Atspi.get_desktop(0)
        apps = [desktop.get_child_at_index(i) for i in range(desktop.get_child_count())]
        return next((a for a in apps if a and a.get_process_id() == self.process.pid), None)

    def give_focus(self, window):
        def has():
            xdotool("windowfocus", window)
            return xdotool("getwindowfocus") == [window]

        until("the keyboard in the window", has)

    def take_focus(self, event):
        if event.detail1:
            self.focused.append(event.source)

    def visited(self):
        """The widgets that got the keyboard, one after the other, as far as was told."""
        while GLib.MainContext.default().iteration(False):
            pass
        return self.focused

    def nodes(self, node=None):
        """The tree below the node, first the node's own children."""
        node = node or self.app
        yield node
        if node.get_role_name() in LEAVES:
            return
        for i in range(node.get_child_count()):
            if child := node.get_child_at_index(i):
                yield from self.nodes(child)

    def hit(self, x, y, frame):
        """What the mouse would hit there, innermost first, up to the window."""
        node = frame.get_accessible_at_point(x, y, Atspi.CoordType.WINDOW)
        while node:
            yield node.path
            node = node.get_parent()

    def frame_of(self, node):
        while node.get_parent() and node.get_parent().get_role_name() != "application":
            node = node.get_parent()
        return node

    def middle(self, node):
        box = node.get_extents(Atspi.CoordType.WINDOW)
        return box.x + box.width // 2, box.y + box.height // 2, box

    def is_shown(self, node):
        x, y, box = self.middle(node)
        if box.width <= 0 or box.height <= 0:
            return False
        hit = list(self.hit(x, y, self.frame_of(node)))
        # A button's picture has no place in the tree, and a label's middle may be the button's around it.
        return node.path in hit or node.get_parent().path in hit or (not hit and node.get_role_name() in BUTTONS)

    def find(self, name, role=None):
        """The first widget shown whose whole name matches; none if there is none."""
        for node in self.nodes():
            if role in (None, node.get_role_name()) and re.fullmatch(name, name_of(node)) and self.is_shown(node):
                return node
        return None

    def see(self, name, role=None):
        return until(f"{role or 'something'} called {name}", lambda: self.find(name, role))

    def click(self, name, role=None):
        node = self.see(name, role)
        x, y, _ = self.middle(node)
        xdotool("mousemove", x + 5, y + 5, "click", 1)
        return node

    def key(self, *keys):
        xdotool("key", *keys)

    def figures(self):
        lines = open(self.output).read().splitlines()
        return json.loads(lines[-1]) if lines else {"tiles": []}

    def states(self):
        return [tile["state"] for tile in self.figures()["tiles"]]

    def ended(self):
        """After the program was told to go: how it went."""
        until("its end", lambda: self.process.poll() is not None)
        errors = open(self.errors).read()
        complaints = [line for line in errors.splitlines() if COMPLAINT.search(line)]
        assert self.process.returncode == 0 and not complaints, (self.process.returncode, complaints)
