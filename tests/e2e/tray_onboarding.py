"""A newcomer's first minutes on a StatusNotifierItem desktop, over AT-SPI, on a small laptop
screen and a large one: "Get started" opens set-up as a frame titled "Welcome to Brindlow", the
connection test's answer is read out in its own words, both steps keep every control on the
screen, and "Start my first refresh" brings the panel back to show the refresh under way.

Usage (under dbus-run-session): tray_onboarding.py BRINDLOW FAKE_SERVICE [WIDTHxHEIGHT]
"""

import subprocess
import sys

from desktop_session import Accessible, Failure, Session, skip_unless_available, wait_for
from tray_end_to_end import SIZES, in_reach
from tray_registration import Watcher

WELCOME = "Welcome to Brindlow"


def run(program, fake_service, size):
    with Session(program, fake_service) as session:
        session.start_display(size)
        session.start_accessibility_bus()
        watcher = Watcher(session.bus())
        session.start_fake_service(newcomer=True)
        brindlow = session.start_program()
        alive = [("brindlow", brindlow)]
        screen = Accessible(brindlow.pid)
        wait_for("the tray item", lambda: watcher.items, 30, alive)

        screen.press(wait_for('"Get started"', lambda: screen.showing("Get started"), 30, alive))
        in_reach(screen, WELCOME, size, alive)
        key = wait_for("the key field", lambda: screen.showing("Claude API key"), 10, alive)
        screen.type_into(key, "sk-test")
        screen.press(wait_for('"Test connection"', lambda: screen.showing("Test connection"), 10, alive))
        # The answer itself is what a screen reader reads, not a caption standing for it.
        wait_for('the result "Connected."', lambda: screen.showing("Connected."), 30, alive)

        screen.press(wait_for('"Continue"', lambda: screen.showing("Continue"), 10, alive))
        start = wait_for('"Start my first refresh"', lambda: screen.showing("Start my first refresh"), 10, alive)
        in_reach(screen, WELCOME, size, alive)
        screen.press(start)
        wait_for("set-up to close", lambda: not screen.window(WELCOME), 10, alive)
        wait_for(
            "the panel showing the first refresh",
            lambda: screen.showing("Stop refresh") or screen.showing("Review changes"),
            30,
            alive,
        )
        in_reach(screen, "Brindlow", size, alive)


def main(program, fake_service, size=None):
    skip_unless_available()
    if size:
        run(program, fake_service, tuple(int(n) for n in size.split("x")))
        return
    # One process per screen: the accessibility library keeps its first bus for good.
    for width, height in SIZES:
        code = subprocess.run([sys.executable, __file__, program, fake_service, f"{width}x{height}"]).returncode
        if code != 0:
            sys.exit(code)
        print(f"PASS at {width}x{height}")


if __name__ == "__main__":
    try:
        main(*sys.argv[1:4])
    except Failure as failure:
        sys.exit(f"FAIL: {failure}")
