"""The tray program as a person uses it, over AT-SPI, on a small laptop screen and a large one:
the panel opens by itself, "Refresh now" sorts the new files against the fake Messages API, the
panel offers "Review changes", and every window met on the way (the panel, the review window,
settings) is a frame with its title whose controls are all on the screen.

Usage (under dbus-run-session): tray_end_to_end.py BRINDLOW FAKE_SERVICE [WIDTHxHEIGHT]
"""

import subprocess
import sys

from desktop_session import Accessible, Failure, Session, skip_unless_available, wait_for


SIZES = ((1280, 720), (1600, 1000))


def in_reach(screen, title, size, alive):
    window = wait_for(f'the window "{title}" as a frame', lambda: screen.window(title), 30, alive)
    missing = screen.out_of_reach(window, size)
    if missing:
        raise Failure(f'at {size[0]}x{size[1]}, "{title}" has controls off the screen: ' + "; ".join(missing))


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


def run(program, fake_service, size):
    with Session(program, fake_service) as session:
        session.start_display(size)
        session.start_accessibility_bus()
        session.start_fake_service()
        brindlow = session.start_program()
        alive = [("brindlow", brindlow)]
        screen = Accessible(brindlow.pid)

        # No tray on a bare X server: the panel is an ordinary window that opens at launch.
        refresh = wait_for('the panel\'s "Refresh now"', lambda: screen.showing("Refresh now"), 30, alive)
        in_reach(screen, "Brindlow", size, alive)
        screen.press(refresh)
        review = wait_for('"Review changes"', lambda: screen.showing("Review changes"), 60, alive)
        if screen.showing("Refresh now"):
            raise Failure('the idle panel is still shown beside "Review changes"')
        in_reach(screen, "Brindlow", size, alive)
        screen.press(review)
        in_reach(screen, "Your fresh start", size, alive)
        # One thing has the focus; an item says so only inside the list that has it.
        focused = screen.focused()
        owners = [(role, name) for role, name, parent in focused if role not in ("table cell", "list item")]
        strays = [name for role, name, parent in focused
                  if role in ("table cell", "list item") and not parent.getState().contains(screen.pyatspi.STATE_FOCUSED)]
        if len(owners) > 1 or strays:
            raise Failure(f"several things report the focus: {owners + strays}")
        screen.press(wait_for('the panel\'s "Settings"', lambda: screen.showing("Settings"), 30, alive))
        in_reach(screen, "Brindlow Settings", size, alive)
    print('PASS: "Refresh now" led to "Review changes"')


if __name__ == "__main__":
    try:
        main(*sys.argv[1:4])
    except Failure as failure:
        sys.exit(f"FAIL: {failure}")
