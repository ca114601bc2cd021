"""quorvid-desk from its first start to its second: drive.py BUILD_FOLDER desk|phone|touch HOME, called by drive.sh"""

import glob
import json
import os
import re
import subprocess
import sys
import time

from desk_driver import BUTTONS, MADE_UP, Desk, name_of, shot, until
from finger import Finger

LIVE = "(Live|Late)"  # late is what a machine under load may be


def first_steps(desk):
    """From the welcome page to the vehicles."""
    desk.see("Live pictures from the cameras of your vehicles.", "label")
    desk.see("Add a Server…", "push button")
    shot("welcome")
    desk.click("Try It Without a Vehicle", "push button")
    return desk.see("Truck 1", "list item")


def all_live(desk, count=4):
    until(f"{count} live tiles", lambda: sum(state in ("live", "late") for state in desk.states()) == count)
    for camera in range(1, 5 if count == 4 else 3):
        desk.see(rf"Truck 1.*{camera}: {LIVE}.*", "panel")


def seconds_recorded(desk):
    dot = desk.find(r"● \d+:\d\d", "label")
    minutes, seconds = dot.get_name()[2:].split(":") if dot else (0, 0)
    return 60 * int(minutes) + int(seconds)


def record(desk, films):
    """Ten seconds of camera 1, and a snapshot of it; returns the time from the first key to the last."""
    desk.click(rf"Truck 1.*1: {LIVE}.*", "panel")
    began = time.monotonic()
    desk.key("shift+r")
    until("a dot with ten seconds beside it", lambda: seconds_recorded(desk) >= 10)
    desk.see(rf"Truck 1.*1: {LIVE}, recording", "panel")
    desk.key("s")
    until("a snapshot's file", lambda: glob.glob(f"{films}/*.png"))
    shot("recording")
    desk.key("shift+r")
    desk.see(rf"Truck 1.*1: {LIVE}", "panel")
    return time.monotonic() - began


def is_good_film(file, longest):
    """Of every picture that came, from the first key frame on, and nothing that can't be decoded."""
    ask = ["ffprobe", "-v", "error", "-of", "json", "-select_streams", "v", "-count_packets",
           "-show_entries", "stream=nb_read_packets,duration", file]
    found = json.loads(subprocess.run(ask, capture_output=True, check=True).stdout)["streams"][0]
    seconds, pictures = float(found["duration"]), int(found["nb_read_packets"])
    print(f"{os.path.basename(file)}: {seconds} s, {pictures} pictures")
    decode = ["ffmpeg", "-v", "error", "-i", file, "-fps_mode", "vfr", "-f", "null", "-"]  # times are those of arrival
    decoded = subprocess.run(decode, capture_output=True)
    assert decoded.returncode == 0 and not decoded.stderr, decoded.stderr
    assert 9.5 <= seconds <= longest and abs(pictures - 25 * seconds) <= 3, (seconds, pictures, longest)


def is_true_picture(build, file):
    """Within 30 dB of what the simulator drew. What compares them leaves a line of text out."""
    padded = file + ".padded.png"
    subprocess.run(["ffmpeg", "-v", "error", "-i", file, "-vf", "pad=iw:ih+18", padded], check=True)
    subprocess.run([f"{build}/tests/sim/compare_picture", padded], check=True)


def windows_come_and_go(desk):
    """Twice each. A screen reader may ask for one that has just gone."""
    for key, inside in 2 * [("ctrl+comma", "Minutes in One File"), ("F1", "Full screen")]:
        desk.key(key)
        desk.other_window()
        desk.see(inside)
        shot(inside)
        desk.key("Escape")
        until("one window", lambda: desk.windows() == [desk.window])
        desk.app.get_child_at_index(7)
        desk.give_focus(desk.window)


def panes(desk):
    desk.key("ctrl+3")
    until("nine tiles", lambda: sum(name_of(n) == "Empty tile" for n in desk.nodes()) == 5)
    desk.key("ctrl+2")
    all_live(desk)
    desk.key("alt+2")
    desk.see("TRUCK-8", "label")
    desk.see("Last answer at .*, 2 devices", "label")
    shot("positions")
    desk.key("alt+3")
    for kind in ("mp4", "png"):
        desk.see(rf"TRUCK-7-ch1-.*[.]{kind}", "list item")
    shot("recordings")
    desk.key("alt+1")
    desk.click(rf"Truck 1.*1: {LIVE}", "panel")
    desk.key("Menu")
    until("a menu", lambda: len(desk.windows()) > 1)
    desk.key("x")
    desk.see("OK: The Stream Is Fine", "label")
    shot("diagnosis")


def walk(desk):
    """Every place that Tab comes to, once around, has a name."""
    desk.key("alt+1")
    places, told = {}, len(desk.visited())
    is_around = False
    while not is_around:
        desk.key("Tab")
        until("another place", lambda: len(desk.visited()) > told)
        for node in desk.visited()[told:]:  # what alt+1 brought the keyboard to may be among them
            is_around |= node.path in places and len(places) > 10
            places.setdefault(node.path, f"{node.get_role_name()} {name_of(node)}")
            told += 1
        assert len(places) < 200
    print("\n".join(places.values()))
    nameless = [place for place in places.values() if MADE_UP.fullmatch(place.split(" ", 1)[1])]
    # What is on other pages, too. A part of one that has a name is the toolkit's.
    def is_nameless(node):
        return MADE_UP.fullmatch(name_of(node)) and MADE_UP.fullmatch(name_of(node.get_parent()))

    nameless += [f"{node.get_description()} {[name_of(part) for part in desk.nodes(node)]}" for node in desk.nodes()
                 if node.get_role_name() in BUTTONS | {"entry"} and is_nameless(node)]
    assert sum(bool(re.search(r"camera \d: ", place)) for place in places.values()) == 4, "not every tile has the keyboard"
    assert len(places) > 15 and not nameless, nameless


def at_a_desk(build, folder):
    desk = Desk(build, folder)
    first_steps(desk)
    desk.click("Truck 1", "list item")
    for camera in (1, 2):
        desk.click(f"Camera {camera}.*", "push button")
    desk.key("Tab", "Return", "Tab", "Return")
    all_live(desk)
    shot("live")
    took = record(desk, f"{folder}/films")
    windows_come_and_go(desk)
    panes(desk)
    walk(desk)
    desk.key("ctrl+q")
    desk.ended()
    [film] = glob.glob(f"{folder}/films/*.mp4")
    [picture] = glob.glob(f"{folder}/films/*.png")
    is_good_film(film, took)
    is_true_picture(build, picture)

    desk = Desk(build, folder)
    all_live(desk)
    desk.click(rf"Truck 1.*2: {LIVE}.*", "panel")
    desk.key("shift+r")
    until("a running time", lambda: seconds_recorded(desk) >= 1)
    desk.key("ctrl+q")
    desk.other_window()
    desk.see("End and Close", "push button")
    shot("question")
    desk.key("alt+e")
    desk.ended()
    assert len(glob.glob(f"{folder}/films/*-ch2-*.mp4")) == 1


OWN = {"Minimize", "Maximize", "Close"}  # of the window: a phone's have none


def small_targets(desk):
    """The buttons shown that a finger 44 points high does not fill."""
    small = set()
    for node in desk.nodes():
        if node.get_role_name() not in BUTTONS or name_of(node) in OWN:
            continue
        x, y, box = desk.middle(node)

        # The box lacks what the style adds around a button's content; a picture in it can't be hit.
        def is_hit(up):
            return node.path in desk.hit(x, y + up, desk.frame_of(node))

        if box.height < 44 and any(map(is_hit, (0, -10, -14, -18))) and not (is_hit(-21) and is_hit(21)):
            small.add((name_of(node), box.height))
    return small


def in_the_hand(build, folder):
    desk = Desk(build, folder, (360, 720))
    first_steps(desk)
    small = small_targets(desk)
    shot("phone-list")
    desk.click("Truck 1", "list item")
    all_live(desk, 3)  # the fourth is out of sight
    tiles = [desk.middle(desk.see(rf"Truck 1.*{n}: {LIVE}.*", "panel"))[2] for n in (1, 2)]
    assert len({tile.x for tile in tiles}) == 1 and tiles[0].y < tiles[1].y, "not one below the other"
    small |= small_targets(desk)
    shot("phone-cameras")
    desk.click(rf"Truck 1.*1: {LIVE}.*", "panel")
    desk.key("Down", "Up", "Return")
    until("one enlarged", lambda: not desk.find(rf"Truck 1.*2: .*", "panel"))
    shot("phone-enlarged")
    desk.key("Page_Down")
    desk.see(rf"Truck 1.*2: {LIVE}.*", "panel")
    desk.key("Escape")
    desk.see(r"Truck 1.*1: .*", "panel")
    desk.see(rf"Truck 1.*2: {LIVE}.*", "panel")  # the one with the keyboard is not scrolled away
    desk.click("Back", "push button")
    desk.see("Truck 2", "list item")
    assert not small, f"too small for a finger: {small}"
    desk.key("ctrl+q")
    desk.ended()


def with_a_finger(build, folder):
    desk = Desk(build, folder, (360, 710))
    finger = Finger(folder)

    def middle(name, role):  # of the screen: a frame of five points is around the window
        x, y, _ = desk.middle(desk.see(name, role))
        return x + 5, y + 5

    first_steps(desk)
    finger.tap(middle("Truck 1", "list item"))
    all_live(desk, 3)
    finger.drag((180, 500), (180, 250))
    place = middle(r"Truck 1.*3: .*", "panel")
    finger.tap(place)
    finger.tap(place)
    until("one enlarged", lambda: not desk.find(r"Truck 1.*[124]: .*", "panel"))
    desk.see(rf"Truck 1.*3: {LIVE}.*", "panel")
    time.sleep(1)  # longer than what opens a menu
    assert desk.windows() == [desk.window], "a menu that nobody asked for"
    finger.drag((300, 360), (60, 365))
    desk.see(rf"Truck 1.*4: {LIVE}.*", "panel")
    shot("touch-next")
    finger.drag((60, 360), (300, 365))
    desk.see(rf"Truck 1.*3: {LIVE}.*", "panel")
    finger.tap(middle(r"Truck 1.*3: .*", "panel"), 1)
    until("a menu", lambda: len(desk.windows()) > 1)
    desk.key("Escape")
    until("no menu", lambda: desk.windows() == [desk.window])
    desk.give_focus(desk.window)
    desk.key("ctrl+q")
    desk.ended()


{"desk": at_a_desk, "phone": in_the_hand, "touch": with_a_finger}[sys.argv[2]](sys.argv[1], sys.argv[3])
