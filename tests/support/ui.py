#!/usr/bin/python3
"""Uses the agent's windows as a person does: finds things over AT-SPI, clicks and types for real.

  ui click NAME [N]        click the N-th (first) visible button or field of that name
  ui type TEXT             type into whatever has the keyboard
  ui key KEY...            press keys, by their X names (Return, Escape, alt+F4)
  ui focus WINDOW          give the keyboard to the window whose title contains WINDOW
  ui shows TEXT            succeed when a visible thing's name or text contains TEXT
  ui hides TEXT            succeed when none does
  ui tray [BUTTON]         click the icon in the tray (1: left, 3: right), which opens its menu
  ui ends-hidden           succeed when the windows and the icon of the agent, which is ending, go
                           before it has ended, and none comes back

A NAME or TEXT of the form @Section.key is that label in the language of $LANGUAGE, as the program
under $VANTORY_BUILD has it. Each waits up to thirty seconds for what it needs, and fails with a line
that says what was missing.
"""
import contextlib
import json
import os
import re
import subprocess
import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

TIMEOUT = 30.0
TRAY_ICON = range(16, 65)  # points a side
RECORDS = {"fr": "Fr", "es": "Es", "it": "It", "de": "Ge", "ko": "Ko", "pt": "Pt"}
PRESSABLE = {getattr(Atspi.Role, name, None) for name in (
    "PUSH_BUTTON", "BUTTON", "MENU_ITEM", "CHECK_BOX", "COMBO_BOX", "TOGGLE_BUTTON", "TEXT", "ENTRY")}


def label(text):
    if not text.startswith("@"):
        return text
    path = os.path.join(os.environ["VANTORY_BUILD"], "vantoryAgent.app/Resources/translate.json")
    with open(path, encoding="utf-8") as file:
        document = json.load(file)
    section, key = text[1:].split(".")
    return document[RECORDS.get(os.environ.get("LANGUAGE", "")[:2], "En")][section][key]


def visible(node, depth=0):
    """All showing nodes below, the node itself included. Announcements are not on the screen."""
    if node is None or depth > 40 or node.get_role() == Atspi.Role.NOTIFICATION:
        return
    states = node.get_state_set()
    if depth > 0 and not states.contains(Atspi.StateType.SHOWING):
        return
    yield node
    for index in range(node.get_child_count()):
        yield from visible(node.get_child_at_index(index), depth + 1)


def text_of(node):
    text = node.get_name() or ""
    with contextlib.suppress(Exception):  # the window may go while it is looked at
        if "Text" in node.get_interfaces():
            text += " " + Atspi.Text.get_text(node, 0, Atspi.Text.get_character_count(node))
    return text.strip()


def everything():
    desktop = Atspi.get_desktop(0)
    for index in range(desktop.get_child_count()):
        with contextlib.suppress(Exception):  # as above
            application = desktop.get_child_at_index(index)
            if "vantory" in application.get_name():
                yield from visible(application)


def centre(node):
    box = Atspi.Component.get_extents(node, Atspi.CoordType.SCREEN)
    return box.x + box.width // 2, box.y + box.height // 2


def until(what, attempt):
    end = time.monotonic() + TIMEOUT
    while not (result := attempt()):
        if time.monotonic() > end:
            sys.exit(f"ui: {what}")
        time.sleep(0.05)
    return result


def xdotool(*arguments):
    subprocess.run(["xdotool", *map(str, arguments)], check=True, stdout=subprocess.DEVNULL)


def click(name, number="1"):
    found = until(f"no enabled button {name!r} number {number}", lambda: [
        node for node in everything() if node.get_role() in PRESSABLE and node.get_name() == name
        and node.get_state_set().contains(Atspi.StateType.ENABLED)][int(number) - 1:])
    xdotool("mousemove", *centre(found[0]), "click", 1)


def windows(*options):
    """The agent's X windows, the icon in the tray included: identifier to (width, height)."""
    found = subprocess.run(["xdotool", "search", *options, "--class", "vantoryAgent",
                            "getwindowgeometry", "--shell", "%@"], capture_output=True, text=True)
    pattern = r"WINDOW=(\d+)\n(?:.*\n)*?WIDTH=(\d+)\nHEIGHT=(\d+)"
    return {window: (int(width), int(height))
            for window, width, height in re.findall(pattern, found.stdout)}


def tray(button="1"):
    icon = until("no icon in the tray", lambda: next(
        (window for window, size in windows().items() if {*size} <= {*TRAY_ICON}), None))
    before = windows("--onlyvisible").keys()
    xdotool("mousemove", "--window", icon, 8, 8, "click", button)
    until("no menu at the icon", lambda: windows("--onlyvisible").keys() - before)


def ends_hidden():
    until("a window or the icon is still shown", lambda: not windows("--onlyvisible"))
    if not windows():
        sys.exit("ui: windows and icon were shown until the agent ended")
    status = os.path.join(os.environ["VANTORY_ROOT"], "agent.status")
    until("the agent has not ended", lambda: os.path.exists(status)
          or windows("--onlyvisible") and sys.exit("ui: a window is shown"))


def shown(text):
    return any(text in text_of(node) for node in everything())


def focus(window):
    until(f"no window {window!r}", lambda: subprocess.run(
        ["xdotool", "search", "--onlyvisible", "--name", window, "windowactivate", "--sync"],
        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0)


COMMANDS = {
    "click": click,
    "type": lambda text: xdotool("type", "--delay", 5, text),
    "key": lambda *keys: xdotool("key", *keys),
    "focus": focus,
    "shows": lambda text: until(f"nothing shows {text!r}", lambda: shown(text)),
    "hides": lambda text: until(f"something still shows {text!r}", lambda: not shown(text)),
    "tray": tray,
    "ends-hidden": ends_hidden,
}


def main():
    if len(sys.argv) < 2 or sys.argv[1] not in COMMANDS:
        sys.exit(__doc__)
    COMMANDS[sys.argv[1]](*map(label, sys.argv[2:]))


if __name__ == "__main__":
    os.environ.setdefault("DISPLAY", ":0")
    main()
